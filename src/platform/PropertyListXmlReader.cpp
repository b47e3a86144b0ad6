#include "platform/PropertyListXmlReader.h"

#include "platform/Base64.h"
#include "platform/Dates.h"
#include "platform/Numbers.h"
#include "platform/PropertyListBuilder.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <expat.h>
#include <optional>
#include <utility>
#include <vector>

namespace marvo {
namespace {

using Kind = PropertyList::Kind;

enum class Element : std::uint8_t {
    plist,
    dictionary,
    array,
    key,
    string,
    integer,
    real,
    yes,
    no,
    data,
    date,
    unknown
};

Element elementNamed(const char* name) {
    const auto named = [name](const char* wanted, Element element) {
        return std::strcmp(name, wanted) == 0 ? element : Element::unknown;
    };
    switch (name[0]) {
    case 'k':
        return named("key", Element::key);
    case 's':
        return named("string", Element::string);
    case 'i':
        return named("integer", Element::integer);
    case 'r':
        return named("real", Element::real);
    case 't':
        return named("true", Element::yes);
    case 'f':
        return named("false", Element::no);
    case 'a':
        return named("array", Element::array);
    case 'p':
        return named("plist", Element::plist);
    case 'd':
        if (name[1] == 'i') return named("dict", Element::dictionary);
        return std::strcmp(name, "data") == 0 ? Element::data : named("date", Element::date);
    default:
        return Element::unknown;
    }
}

bool isBlank(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c == '\n' || c == '\t' || c == ' ' || c == '\r'; });
}

std::optional<PropertyList> integerFrom(std::string_view text) {
    text = trim(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.size() > 2 && (text.starts_with("0x") || text.starts_with("0X"));
    if (hexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, magnitude, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != last) return std::nullopt;
    if (!negative) return PropertyList(magnitude);
    if (magnitude > std::uint64_t{1} << 63) return std::nullopt;
    return PropertyList(static_cast<std::int64_t>(0 - magnitude));
}

std::optional<PropertyList> realFrom(std::string_view text) {
    const std::optional<double> value = parseWholeFloat(trim(text));
    if (!value) return std::nullopt;
    return PropertyList(*value);
}

std::optional<PropertyList> dateFrom(std::string_view text) {
    const std::optional<double> seconds = parseIsoDate(trim(text));
    if (!seconds) return std::nullopt;
    return PropertyList::date(*seconds);
}

// In an operator's words where the parser's are about XML.
const char* reasonFor(XML_Error code, bool atEnd) {
    switch (code) {
    case XML_ERROR_NO_ELEMENTS:
    case XML_ERROR_UNCLOSED_TOKEN:
    case XML_ERROR_UNCLOSED_CDATA_SECTION:
    case XML_ERROR_PARTIAL_CHAR:
        return atEnd ? "the file is cut off" : XML_ErrorString(code);
    case XML_ERROR_JUNK_AFTER_DOC_ELEMENT:
        return "something follows behind the end of the property list";
    case XML_ERROR_INVALID_TOKEN:
        return "not well-formed, or not valid UTF-8";
    default:
        return XML_ErrorString(code);
    }
}

} // namespace

class PropertyListXmlReader::Parser {
public:
    explicit Parser(std::string name) : name_(std::move(name)), parser_(XML_ParserCreate(nullptr)) {
        XML_SetUserData(parser_, this);
        XML_SetElementHandler(parser_, onStart, onEnd);
        XML_SetCharacterDataHandler(parser_, onText);
        XML_SetEntityDeclHandler(parser_, onEntityDeclaration);
        // The document type names an outside part that is not read, so unknown entities would be passed over
        // in silence.
        XML_SetSkippedEntityHandler(parser_, onSkippedEntity);
    }
    ~Parser() { XML_ParserFree(parser_); }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    bool feed(std::string_view bytes, bool last) {
        constexpr std::size_t largestPiece = 1 << 20;
        while (bytes.size() > largestPiece) {
            if (!feedPiece(bytes.substr(0, largestPiece), false)) return false;
            bytes.remove_prefix(largestPiece);
        }
        return feedPiece(bytes, last);
    }
    const std::string& error() const { return error_; }
    PropertyList take() { return builder_.take(); }

private:
    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char**) {
        static_cast<Parser*>(self)->start(name);
    }
    static void XMLCALL onEnd(void* self, const XML_Char*) { static_cast<Parser*>(self)->end(); }
    static void XMLCALL onText(void* self, const XML_Char* text, int size) {
        static_cast<Parser*>(self)->text({text, static_cast<std::size_t>(size)});
    }
    static void XMLCALL onEntityDeclaration(void* self, const XML_Char*, int, const XML_Char*, int,
                                            const XML_Char*, const XML_Char*, const XML_Char*,
                                            const XML_Char*) {
        static_cast<Parser*>(self)->refuse("entity declarations are not accepted");
    }
    static void XMLCALL onSkippedEntity(void* self, const XML_Char* name, int) {
        static_cast<Parser*>(self)->refuse("unknown entity &" + escapeForLog(name) + ";");
    }

    bool feedPiece(std::string_view bytes, bool last) {
        if (!error_.empty()) return false;
        any_ = any_ || !bytes.empty();
        if (last && !any_) {
            error_ = escapeForLog(name_, maximumPath) + ": the file is empty";
            return false;
        }
        if (XML_Parse(parser_, bytes.data(), static_cast<int>(bytes.size()), last) == XML_STATUS_ERROR) {
            refuse(reasonFor(XML_GetErrorCode(parser_), last));
        } else if (last && !builder_.isComplete()) {
            refuse("there is no value in it");
        }
        return error_.empty();
    }

    void refuse(const std::string& reason) {
        if (!error_.empty()) return;
        error_ = escapeForLog(name_, maximumPath) + ": line " +
                 std::to_string(XML_GetCurrentLineNumber(parser_)) + ", column " +
                 std::to_string(XML_GetCurrentColumnNumber(parser_) + 1) + ": " + reason;
        XML_StopParser(parser_, XML_FALSE);
    }
    void refuseIf(const char* refusal) {
        if (refusal) refuse(refusal);
    }

    // A stopped parser may still report the end of an empty element, so every handler asks for an earlier
    // error.
    void start(const char* name) {
        if (!error_.empty()) return;
        const Element element = elementNamed(name);
        if (element == Element::unknown) return refuse("unexpected element <" + escapeForLog(name) + ">");
        if (inLeaf_) return refuse("<" + std::string(name) + "> inside a value that holds only text");
        if (open_.empty() != (element == Element::plist)) {
            return refuse(open_.empty() ? "the root element is not <plist>" : "<plist> inside <plist>");
        }
        open_.push_back(element);
        switch (element) {
        case Element::plist:
            return;
        case Element::dictionary:
            return refuseIf(builder_.open(Kind::dictionary));
        case Element::array:
            return refuseIf(builder_.open(Kind::array));
        case Element::key:
            refuseIf(builder_.beginKey());
            break;
        default:
            refuseIf(builder_.beginValue());
        }
        inLeaf_ = true;
        text_.clear();
    }

    void text(std::string_view piece) {
        if (inLeaf_) {
            text_.append(piece);
        } else if (error_.empty() && !isBlank(piece)) {
            refuse("text between values");
        }
    }

    void end() {
        if (!error_.empty()) return;
        const Element element = open_.back();
        open_.pop_back();
        inLeaf_ = false;
        switch (element) {
        case Element::key:
            return refuseIf(builder_.key(text_));
        case Element::string:
            return refuseIf(builder_.text(text_));
        case Element::yes:
            return addFlag(true);
        case Element::no:
            return addFlag(false);
        case Element::integer:
            return addChecked(integerFrom(text_), "integer");
        case Element::real:
            return addChecked(realFrom(text_), "real");
        case Element::date:
            return addChecked(dateFrom(text_), "date");
        case Element::data:
            return addData();
        case Element::dictionary:
        case Element::array:
            return refuseIf(builder_.close());
        case Element::plist:
        case Element::unknown:
            return;
        }
    }

    void addFlag(bool value) {
        if (!isBlank(text_)) return refuse(std::string("text inside <") + (value ? "true" : "false") + ">");
        refuseIf(builder_.value(value));
    }

    void addChecked(std::optional<PropertyList> value, const char* what) {
        if (!value)
            return refuse("\"" + escapeForLog(std::string_view(text_).substr(0, 40)) + "\" is not a valid <" +
                          what + ">");
        refuseIf(builder_.value(std::move(*value)));
    }

    void addData() {
        const auto bytes = decodeBase64(text_);
        if (!bytes) return refuse("the text of <data> is not base64");
        refuseIf(builder_.value(PropertyList::data(*bytes)));
    }

    static constexpr std::size_t maximumPath = 4096;

    const std::string name_;
    XML_Parser parser_;
    PropertyListBuilder builder_;
    std::string error_;
    std::string text_;
    std::vector<Element> open_;
    bool any_ = false;
    bool inLeaf_ = false;
};

PropertyListXmlReader::PropertyListXmlReader(std::string name)
    : parser_(std::make_unique<Parser>(std::move(name))) {}
PropertyListXmlReader::~PropertyListXmlReader() = default;
bool PropertyListXmlReader::feed(std::string_view bytes, bool last) {
    return parser_->feed(bytes, last);
}
const std::string& PropertyListXmlReader::error() const {
    return parser_->error();
}
PropertyList PropertyListXmlReader::take() {
    return parser_->take();
}

} // namespace marvo
