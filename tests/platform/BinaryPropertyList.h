// Puts binary property lists together byte by byte, right and wrong ones.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class BinaryPropertyList {
public:
    // Adds an object and returns its number. Offsets are as wide as told, references one byte.
    std::uint8_t add(std::string_view object) {
        offsets_.push_back(body_.size());
        body_.append(object);
        return static_cast<std::uint8_t>(offsets_.size() - 1);
    }
    // A second number for an object that is there.
    std::uint8_t again(std::uint8_t number) {
        offsets_.push_back(offsets_[number]);
        return static_cast<std::uint8_t>(offsets_.size() - 1);
    }
    void moveObject(std::size_t number, std::uint64_t offset) { offsets_[number] = offset; }

    static std::string bigEndian(std::uint64_t value, int size) {
        std::string bytes;
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
            bytes.push_back(static_cast<char>(value >> shift));
        return bytes;
    }
    // A marker with its count, in the first byte or in an integer behind it.
    static std::string counted(int marker, std::uint64_t count) {
        if (count < 15) return {static_cast<char>(marker << 4 | static_cast<int>(count))};
        return std::string{static_cast<char>(marker << 4 | 15), '\x13'} + bigEndian(count, 8);
    }
    static std::string container(int marker, const std::vector<std::uint8_t>& references) {
        std::string bytes = counted(marker, marker == 13 ? references.size() / 2 : references.size());
        for (const std::uint8_t reference : references) bytes.push_back(static_cast<char>(reference));
        return bytes;
    }

    struct Trailer {
        int offsetSize = 4;
        std::uint64_t top = 0;
    };
    std::string bytes(Trailer trailer = {4, 0}) const {
        std::string all = body_;
        for (const std::uint64_t offset : offsets_) all += bigEndian(offset, trailer.offsetSize);
        all += std::string(6, '\0') + static_cast<char>(trailer.offsetSize) + '\x01';
        all += bigEndian(offsets_.size(), 8) + bigEndian(trailer.top, 8) + bigEndian(body_.size(), 8);
        return all;
    }
    // A file that holds nothing but this object.
    static std::string single(std::string_view object) {
        BinaryPropertyList list;
        list.add(object);
        return list.bytes();
    }

private:
    std::string body_ = "bplist00";
    std::vector<std::uint64_t> offsets_;
};

} // namespace marvo
