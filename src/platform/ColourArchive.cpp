#include "platform/ColourArchive.h"

#include "platform/Numbers.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListBinary.h"

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace marvo {
namespace {

constexpr std::string_view ownMark = "marvo-colour 1 rgba ";
constexpr std::string_view binaryMark = "bplist00";
constexpr std::string_view blanks{" \t\r\n\0", 5};
// A colour of a catalogue names another object; a file that names itself ends here.
constexpr int deepestReference = 8;

// Numbers with blanks between them, at most five; none when anything else is in it.
std::optional<std::vector<double>> numbersIn(std::string_view text) {
    std::vector<double> numbers;
    while (true) {
        const std::size_t first = text.find_first_not_of(blanks);
        if (first == std::string_view::npos) return numbers;
        text.remove_prefix(first);
        const std::string_view word = text.substr(0, text.find_first_of(blanks));
        const std::optional<double> number = parseWholeFloat(word);
        if (!number || numbers.size() == 5) return std::nullopt;
        numbers.push_back(*number);
        text.remove_prefix(word.size());
    }
}

std::optional<Colour> fromGrey(const std::vector<double>& n) {
    if (n.empty() || n.size() > 2) return std::nullopt;
    return Colour::grey(n[0], n.size() > 1 ? n[1] : 1.0);
}

std::optional<Colour> fromRGB(const std::vector<double>& n) {
    if (n.size() < 3 || n.size() > 4) return std::nullopt;
    return Colour{n[0], n[1], n[2], n.size() > 3 ? n[3] : 1.0};
}

std::optional<Colour> fromCMYK(const std::vector<double>& n) {
    if (n.size() < 4) return std::nullopt;
    return Colour::fromCMYK({n[0], n[1], n[2], n[3]}, n.size() > 4 ? n[4] : 1.0);
}

std::optional<Colour> fromAny(const std::vector<double>& n) {
    if (n.size() < 3) return fromGrey(n);
    return n.size() < 5 ? fromRGB(n) : fromCMYK(n);
}

class KeyedArchive {
public:
    explicit KeyedArchive(const PropertyList& archive) : objects_(archive.find("$objects")) {
        const PropertyList* top = archive.find("$top");
        root_ = top ? top->find("root") : nullptr;
    }

    std::optional<Colour> colour() const { return root_ ? colourOf(*root_, 0) : std::nullopt; }

private:
    using Reader = std::optional<Colour> (*)(const std::vector<double>&);
    static constexpr std::array<std::pair<std::string_view, Reader>, 4> forms{
        {{"NSRGB", fromRGB}, {"NSCMYK", fromCMYK}, {"NSWhite", fromGrey}, {"NSComponents", fromAny}}};

    const PropertyList& resolved(const PropertyList& value) const {
        const PropertyList* uid = value.find("CF$UID");
        const PropertyList* object =
            uid && objects_ ? objects_->at(static_cast<std::size_t>(uid->unsignedOr(0))) : nullptr;
        return object ? *object : value;
    }

    std::string_view textOf(const PropertyList& reference) const {
        const PropertyList& value = resolved(reference);
        const std::span<const std::byte> bytes = value.dataBytes();
        if (value.isData()) return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
        return value.stringOr("");
    }

    std::optional<Colour> colourOf(const PropertyList& reference, int depth) const {
        const PropertyList& object = resolved(reference);
        if (!object.isDictionary() || depth > deepestReference) return std::nullopt;
        for (const auto& [key, read] : forms) {
            const PropertyList* components = object.find(key);
            if (!components) continue;
            const auto numbers = numbersIn(textOf(*components));
            if (auto colour = numbers ? read(*numbers) : std::nullopt) return colour;
        }
        const PropertyList* named = object.find("NSColor");
        return named ? colourOf(*named, depth + 1) : std::nullopt;
    }

    const PropertyList* objects_;
    const PropertyList* root_;
};

} // namespace

std::string archivedColour(const Colour& colour) {
    std::string text(ownMark);
    const char* separator = "";
    const Colour held = colour.limited();
    for (const double component : {held.red, held.green, held.blue, held.alpha}) {
        text += separator;
        text += shortestReal(component).view();
        separator = " ";
    }
    return text;
}

std::optional<Colour> colourFromArchive(std::string_view bytes) {
    std::optional<Colour> colour;
    if (bytes.starts_with(ownMark)) {
        const auto numbers = numbersIn(bytes.substr(ownMark.size()));
        if (numbers && numbers->size() == 4) colour = fromRGB(*numbers);
    } else if (bytes.starts_with(binaryMark)) {
        const ReadResult archive = parsePropertyListBinary(bytes, "colour");
        if (archive.ok()) colour = KeyedArchive(archive.value).colour();
    }
    if (colour) colour = colour->limited();
    return colour;
}

} // namespace marvo
