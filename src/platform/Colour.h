// A colour, and its views in the models that lamps, printers and people think in.
//
// The components are those of the device, 0 to 1, without a transfer function: what a colour picker shows is
// what leaves. Thread-safe: plain values. Realtime-safe.
#pragma once

#include <cstdint>

namespace marvo {

struct HSB {
    double hue = 0.0; // a full turn is 1
    double saturation = 0.0;
    double brightness = 0.0;
};

struct CMYK {
    double cyan = 0.0;
    double magenta = 0.0;
    double yellow = 0.0;
    double black = 0.0;
};

struct Colour {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    bool operator==(const Colour&) const = default;

    static constexpr Colour clear() { return {0.0, 0.0, 0.0, 0.0}; }
    static constexpr Colour black() { return {}; }
    static constexpr Colour white() { return {1.0, 1.0, 1.0, 1.0}; }
    static constexpr Colour grey(double level, double alpha = 1.0) { return {level, level, level, alpha}; }
    // The hue may go round more than once; one that is not finite is 0.
    static Colour fromHSB(const HSB& hsb, double alpha = 1.0);
    static Colour fromCMYK(const CMYK& cmyk, double alpha = 1.0);

    // A colour without saturation has hue 0.
    HSB hsb() const;
    // Black has no ink but black.
    CMYK cmyk() const;
    // How bright it looks: 0.30 red, 0.59 green, 0.11 blue. A grey is itself, to the bit.
    double grey() const {
        if (red == green && green == blue) return red;
        return (30.0 * red + 59.0 * green + 11.0 * blue) / 100.0;
    }

    // Every component within 0 to 1; what is no number is 0.
    Colour limited() const;
    // `done` parts of `total` on the way from here to `other`, component by component. A way back holds the
    // same colours as the way there, to the bit: cutting to bytes would show the difference.
    Colour mixedWith(const Colour& other, double done, double total) const {
        const double p = done / total;
        const double q = (total - done) / total;
        const auto mix = [p, q](double from, double to) {
            return from < to ? from + (to - from) * p : to + (from - to) * q;
        };
        return {mix(red, other.red), mix(green, other.green), mix(blue, other.blue), mix(alpha, other.alpha)};
    }
};

namespace colourmath {

// Two components at a time, as one register holds them.
using Pair [[gnu::vector_size(16)]] = double;
using PairOfBits [[gnu::vector_size(16)]] = std::int64_t;

// The bytes of two components, in the lowest byte of either element: cut rather than rounded and held to 0
// to 255; of what is no number, 0.
inline PairOfBits bytesOf(Pair components) {
    const Pair level = components * 255.0;
    const Pair atLeast = level > 0.0 ? level : Pair{};
    const Pair held = atLeast < 255.0 ? atLeast : Pair{255.0, 255.0};
    return __builtin_convertvector(held, PairOfBits);
}

} // namespace colourmath

// 0xrrggbbaa
inline std::uint32_t packedRGBA(const Colour& colour) {
    const auto redGreen = colourmath::bytesOf(colourmath::Pair{colour.red, colour.green});
    const auto blueAlpha = colourmath::bytesOf(colourmath::Pair{colour.blue, colour.alpha});
    return static_cast<std::uint32_t>(redGreen[0] << 24 | redGreen[1] << 16 | blueAlpha[0] << 8 |
                                      blueAlpha[1]);
}

} // namespace marvo
