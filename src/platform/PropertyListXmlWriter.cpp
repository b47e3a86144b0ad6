#include "platform/PropertyListXmlWriter.h"

#include "platform/Base64.h"
#include "platform/Dates.h"
#include "platform/Numbers.h"
#include "platform/PropertyListBuilder.h"
#include "platform/Text.h"

#include <cmath>
#include <string>

namespace marvo {
namespace {

constexpr std::string_view heading = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                     "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                     "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                     "<plist version=\"1.0\">\n";
constexpr std::size_t pieceSize = 1 << 16;

class Writer {
public:
    explicit Writer(const std::function<bool(std::string_view)>& sink) : sink_(sink) {
        buffer_.reserve(pieceSize * 2);
    }

    XmlWriteReport write(const PropertyList& value) {
        if (value.isNone()) return {false, "there is no value to write", 0};
        put(heading);
        element(value, 0);
        put("</plist>\n");
        flush();
        return report_;
    }

private:
    void put(std::string_view text) {
        buffer_.append(text);
        if (buffer_.size() >= pieceSize) flush();
    }

    void flush() {
        if (report_.complete && !sink_(buffer_)) report_.complete = false;
        buffer_.clear();
    }

    void indent(std::size_t depth) { buffer_.append(depth, '\t'); }

    // A carriage return would come back as a line feed, so it goes as a reference.
    void escaped(std::string_view text) {
        std::size_t plain = 0;
        std::size_t at = 0;
        const auto instead = [&](std::string_view replacement, std::size_t length) {
            buffer_.append(text.substr(plain, at - plain)).append(replacement);
            at += length;
            plain = at;
        };
        while (at < text.size()) {
            const auto c = static_cast<unsigned char>(text[at]);
            if (c == '<') {
                instead("&lt;", 1);
            } else if (c == '>') {
                instead("&gt;", 1);
            } else if (c == '&') {
                instead("&amp;", 1);
            } else if (c == '\r') {
                instead("&#13;", 1);
            } else if (c < 0x20 && c != '\t' && c != '\n') {
                instead({}, 1);
                ++report_.droppedCharacters;
            } else if (c < 0x80) {
                ++at;
            } else {
                const std::size_t length = utf8LengthAt(text, at);
                const std::string_view sequence = text.substr(at, length);
                if (length == 0 || sequence == "\xEF\xBF\xBE" || sequence == "\xEF\xBF\xBF") {
                    instead({}, length == 0 ? 1 : length);
                    ++report_.droppedCharacters;
                } else {
                    at += length;
                }
            }
        }
        put(text.substr(plain));
    }

    void leaf(std::string_view opening, std::string_view text, std::string_view closing) {
        buffer_.append(opening).append(text);
        put(closing);
    }

    void real(double value, bool single) {
        constexpr std::string_view opening = "<real>";
        constexpr std::string_view closing = "</real>\n";
        if (std::isnan(value)) return leaf(opening, "nan", closing);
        if (std::isinf(value)) return leaf(opening, value < 0 ? "-infinity" : "+infinity", closing);
        if (single) return leaf(opening, shortestFloat(static_cast<float>(value)), closing);
        leaf(opening, shortestReal(value), closing);
    }

    void element(const PropertyList& value, std::size_t depth) {
        using Kind = PropertyList::Kind;
        indent(depth);
        switch (value.kind()) {
        case Kind::none:
            return put("<string></string>\n");
        case Kind::boolean:
            return put(value.boolOr(false) ? "<true/>\n" : "<false/>\n");
        case Kind::integer:
            return leaf("<integer>", formatInteger(value.integerOr(0)), "</integer>\n");
        case Kind::unsignedInteger:
            return leaf("<integer>", formatUnsigned(value.unsignedOr(0)), "</integer>\n");
        case Kind::real:
            return real(value.realOr(0.0), false);
        case Kind::real32:
            return real(value.realOr(0.0), true);
        case Kind::string:
            buffer_.append("<string>");
            escaped(value.stringOr({}));
            return put("</string>\n");
        case Kind::data:
            return leaf("<data>", encodeBase64(value.dataBytes()), "</data>\n");
        case Kind::date:
            return leaf("<date>", formatIsoDate(value.dateSeconds()), "</date>\n");
        case Kind::array:
        case Kind::dictionary:
            return container(value, depth);
        }
    }

    void container(const PropertyList& value, std::size_t depth) {
        const bool isArray = value.isArray();
        if (depth == PropertyListBuilder::maximumDepth) {
            report_.complete = false;
            report_.refusal = "nested deeper than 512 levels";
        }
        if (!report_.complete) return;
        if (value.size() == 0) return put(isArray ? "<array/>\n" : "<dict/>\n");
        put(isArray ? "<array>\n" : "<dict>\n");
        for (const PropertyList& one : value.elements()) element(one, depth + 1);
        for (const auto& [key, one] : value.entries()) {
            if (one.isNone()) continue;
            indent(depth + 1);
            buffer_.append("<key>");
            escaped(key);
            buffer_.append("</key>\n");
            element(one, depth + 1);
        }
        indent(depth);
        put(isArray ? "</array>\n" : "</dict>\n");
    }

    const std::function<bool(std::string_view)>& sink_;
    std::string buffer_;
    XmlWriteReport report_;
};

} // namespace

XmlWriteReport writePropertyListXml(const PropertyList& value,
                                    const std::function<bool(std::string_view)>& sink) {
    return Writer(sink).write(value);
}

} // namespace marvo
