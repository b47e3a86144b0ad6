#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

// Names that a template may mention, as they stand when it is compiled.
struct TemplateNames {
    std::int64_t compositionIndex = 1; // "$COMPINDEX", counted from 1
    std::string_view composition;      // "$COMP"
    std::string_view track;            // "$TRACK"
};

// What one send puts into a template.
struct TemplateInput {
    float value = 0.0F;         // in stored scale, already normalised where the track asks for it
    float multiplier = 1.0F;    // stored scale of a float track
    int sendType = 0;           // automatic argument: 0 float, 1 integer, 2 boolean, other none
    std::int64_t frame = 0;     // "<$F>"
    std::int64_t compFPS = 100; // frames a second, for "<$S>"
    int textType = 0;           // text of "$": 0 value / multiplier, 1 and 2 rounded integer, other empty
};

// Takes the message that a template produces: begin once, then the arguments in order. Views are valid only
// during the call. Called on the thread that runs the template; an implementation used on the tick must not
// allocate.
class TemplateSink {
public:
    virtual ~TemplateSink() = default;
    virtual void begin(std::string_view address) = 0;
    virtual void addString(std::string_view text) = 0;
    virtual void addFloat(float value) = 0;
    virtual void addInt(std::int32_t value) = 0;
    virtual void addBOOL(bool value) = 0;
};

// The address and argument template of an OSC value track, for instance
//     /desk/$TRACK <$F> <"go"> <$>
// compiled once when the address or a name changes, and run on every send.
//
// Everything that does not depend on the value or the time is settled by compile; a run formats what is left
// into memory that compile set aside. Invariant: run gives what replacing the placeholders in the whole text
// and cutting the result at each "<" would give.
//
// Owner thread: compile on the main thread, run on the track's sending thread, one run at a time. Not
// thread-safe.
class OSCTemplate {
public:
    OSCTemplate() = default; // the template of the empty text

    // Any text is legal and of any length. Allocates.
    static OSCTemplate compile(std::string_view oscAddress, const TemplateNames& names);
    // Of a track that has no value: only "<$F>" and "<$S>" are placeholders, every other "$" is a character,
    // and nothing is added behind the template's own arguments. With a number, "<$>" stands for it.
    static OSCTemplate compileWithoutValue(std::string_view oscAddress, const TemplateNames& names,
                                           std::optional<std::int64_t> runningNumber = std::nullopt);

    // The text of a template without a value as it is shown: "<$F>" is the bare number of the frame, "<$S>"
    // the seconds to three places in their brackets, "<$>" the running number in its own. Allocates.
    static std::string labelOf(std::string_view oscAddress, const TemplateNames& names,
                               const TemplateInput& input, std::int64_t runningNumber);

    // Realtime-safe: yes, if the sink is.
    void run(const TemplateInput& input, TemplateSink& sink);

    // The address as typed holds "#": the message is gathered into a bundle before it is sent.
    bool isGrouped() const { return grouped_; }

    // The address, when a run gives nothing but it and the automatic argument; valid as long as the template
    // is where it is.
    std::optional<std::string_view> plainAddress() const {
        if (!constantAddress_ || !arguments_.empty() || !automaticArgument_ || pieces_.empty())
            return std::nullopt;
        return view(pieces_[address_.first]);
    }

    // The address, when a run of a template without a value gives nothing but it; valid likewise.
    std::optional<std::string_view> bareAddress() const {
        if (!constantAddress_ || !arguments_.empty() || automaticArgument_ || pieces_.empty())
            return std::nullopt;
        return view(pieces_[address_.first]);
    }

    // False when the template places the value itself.
    bool addsAutomaticArgument() const { return automaticArgument_; }

private:
    enum class PieceKind : std::uint8_t { literal, valueText, frame, seconds };
    struct Piece {
        PieceKind kind;
        std::size_t offset; // of a literal, in pool_
        std::size_t length;
    };
    struct PieceRange {
        std::size_t first = 0;
        std::size_t end = 0;
    };
    enum class ArgumentKind : std::uint8_t { string, floating, integer, computed };
    struct Argument {
        ArgumentKind kind;
        std::int32_t intValue = 0;
        float floatValue = 0.0F;
        PieceRange pieces; // of a computed argument; of a string the one literal
    };
    struct Texts;

    void compileText(std::string_view oscAddress, const TemplateNames& names);
    void compileAddress(std::string_view text, bool hasArguments);
    void compileArgument(std::string_view token);
    void addConstantArgument(std::string_view token);
    void addPieces(std::string_view text, bool dropsBrackets);
    void addLiteral(std::string_view text);
    bool isConstant(PieceRange range) const;
    std::size_t longest(PieceRange range) const;
    std::string_view view(const Piece& piece) const { return {pool_.data() + piece.offset, piece.length}; }
    std::size_t assemble(PieceRange range, const Texts& texts);
    void emitComputed(PieceRange range, const Texts& texts, TemplateSink& sink);

    std::string pool_;
    std::vector<Piece> pieces_;
    std::vector<Argument> arguments_;
    PieceRange address_;
    std::vector<char> scratch_; // as long as the longest text a run can assemble
    std::string runningNumber_; // while compiling
    bool hasValue_ = true;
    bool constantAddress_ = true;
    bool dropsLastCharacter_ = false;
    bool usesValueText_ = false;
    bool usesTime_ = false;
    bool automaticArgument_ = true;
    bool grouped_ = false;
};

} // namespace marvo
