#include "tracks/OSCTemplate.h"

#include "controls/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace marvo {

namespace {

using numbertext::maxNumberLength;
using numbertext::trimmed;

std::string replaced(std::string_view text, std::string_view what, std::string_view by) {
    std::string result;
    result.reserve(text.size());
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(what, from)) != std::string_view::npos; from = at + what.size()) {
        result.append(text, from, at - from);
        result.append(by);
    }
    return result.append(text, from);
}

// "$COMP" is the front of "$COMPINDEX", so the longer one goes first. A name that itself holds a placeholder
// takes part in what follows.
std::string withNames(std::string_view address, const TemplateNames& names) {
    char index[maxNumberLength];
    const std::size_t length = numbertext::writeInteger(names.compositionIndex, index);
    std::string text = replaced(trimmed(address), "$COMPINDEX", {index, length});
    text = replaced(text, "$COMP", names.composition);
    return replaced(text, "$TRACK", names.track);
}

// A part between two "<" places the value when it has a "$" with a ">" behind, unless it is the frame or the
// time. Blanks between one argument and the next do not turn a frame into a value.
bool placesValue(std::string_view part) {
    const std::size_t dollar = part.find('$');
    if (dollar == std::string_view::npos) return false;
    const std::string_view placeholder = part.substr(dollar);
    if (placeholder.find('>') == std::string_view::npos) return false;
    const std::string_view bare = trimmed(placeholder);
    return bare != "$F>" && bare != "$S>";
}

// A character may be several bytes of UTF-8; bytes that are not UTF-8 count one each.
std::size_t lengthWithoutLastCharacter(const char* text, std::size_t length) {
    if (length == 0) return 0;
    const auto byte = [&](std::size_t back) { return static_cast<unsigned char>(text[length - 1 - back]); };
    std::size_t continuation = 0;
    while (continuation < 3 && continuation + 1 < length && (byte(continuation) & 0xC0U) == 0x80U) {
        ++continuation;
    }
    const unsigned char lead = byte(continuation);
    const bool whole = (continuation == 1 && (lead & 0xE0U) == 0xC0U) ||
                       (continuation == 2 && (lead & 0xF0U) == 0xE0U) ||
                       (continuation == 3 && (lead & 0xF8U) == 0xF0U);
    return length - (whole ? continuation + 1 : 1);
}

} // namespace

struct OSCTemplate::Texts {
    char value[maxNumberLength];
    char frame[maxNumberLength];
    char seconds[maxNumberLength];
    std::size_t valueLength = 0;
    std::size_t frameLength = 0;
    std::size_t secondsLength = 0;
};

OSCTemplate OSCTemplate::compile(std::string_view oscAddress, const TemplateNames& names) {
    OSCTemplate result;
    result.compileText(oscAddress, names);
    return result;
}

OSCTemplate OSCTemplate::compileWithoutValue(std::string_view oscAddress, const TemplateNames& names,
                                             std::optional<std::int64_t> runningNumber) {
    OSCTemplate result;
    result.hasValue_ = false;
    if (runningNumber) result.runningNumber_ = std::to_string(*runningNumber);
    result.compileText(oscAddress, names);
    result.automaticArgument_ = false;
    return result;
}

std::string OSCTemplate::labelOf(std::string_view oscAddress, const TemplateNames& names,
                                 const TemplateInput& input, std::int64_t runningNumber) {
    char number[maxNumberLength];
    std::string text = withNames(oscAddress, names);
    text = replaced(text, "<$F>", {number, numbertext::writeInteger(input.frame, number)});
    const float seconds = static_cast<float>(input.frame) / static_cast<float>(input.compFPS);
    const auto end = std::to_chars(number, number + sizeof number, seconds, std::chars_format::fixed, 3);
    text = replaced(text, "<$S>", "<" + std::string(number, end.ptr) + ">");
    return replaced(text, "<$>", "<" + std::to_string(runningNumber) + ">");
}

void OSCTemplate::compileText(std::string_view oscAddress, const TemplateNames& names) {
    grouped_ = oscAddress.find('#') != std::string_view::npos;
    const std::string whole = withNames(oscAddress, names);
    std::string_view rest = whole;

    const std::size_t firstBracket = rest.find('<');
    const bool hasArguments = firstBracket != std::string_view::npos;
    const std::string_view head = rest.substr(0, firstBracket);
    if (placesValue(head)) automaticArgument_ = false;
    compileAddress(head, hasArguments);

    std::size_t bracket = firstBracket;
    while (bracket != std::string_view::npos) {
        rest.remove_prefix(bracket + 1);
        bracket = rest.find('<');
        const std::string_view token = rest.substr(0, bracket);
        if (placesValue(token)) automaticArgument_ = false;
        compileArgument(token);
    }

    std::size_t room = constantAddress_ ? 0 : longest(address_);
    for (const Argument& argument : arguments_) {
        if (argument.kind == ArgumentKind::computed) room = std::max(room, longest(argument.pieces));
    }
    scratch_.resize(room);
    for (const Piece& piece : pieces_) {
        if (piece.kind == PieceKind::valueText) usesValueText_ = true;
        if (piece.kind == PieceKind::frame || piece.kind == PieceKind::seconds) usesTime_ = true;
    }
}

void OSCTemplate::compileAddress(std::string_view text, bool hasArguments) {
    // The character before the first "<" is taken for the blank between address and arguments.
    if (hasArguments && (!hasValue_ || text.find('$') == std::string_view::npos)) {
        text = text.substr(0, lengthWithoutLastCharacter(text.data(), text.size()));
    } else {
        dropsLastCharacter_ = hasArguments;
    }
    address_.first = pieces_.size();
    addPieces(text, false);
    address_.end = pieces_.size();
    constantAddress_ = isConstant(address_);
    if (constantAddress_ && address_.first == address_.end) addLiteral({});
    address_.end = pieces_.size();
}

void OSCTemplate::compileArgument(std::string_view token) {
    PieceRange range{pieces_.size(), 0};
    std::string numbered;
    if (token.starts_with("$F>")) {
        pieces_.push_back({PieceKind::frame, 0, 0});
        token.remove_prefix(3);
    } else if (token.starts_with("$S>")) {
        pieces_.push_back({PieceKind::seconds, 0, 0});
        token.remove_prefix(3);
    } else if (!runningNumber_.empty() && token.starts_with("$>")) {
        numbered = runningNumber_;
        numbered += token.substr(2);
        token = numbered;
    }
    addPieces(token, true);
    range.end = pieces_.size();
    if (!isConstant(range)) {
        arguments_.push_back({ArgumentKind::computed, 0, 0.0F, range});
    } else if (range.end > range.first) {
        addConstantArgument(trimmed(view(pieces_[range.first])));
    }
}

void OSCTemplate::addConstantArgument(std::string_view token) {
    if (token.empty()) return;
    if (token.front() == '"') {
        std::string text(token);
        std::erase(text, '"');
        const std::size_t first = pieces_.size();
        addLiteral(text);
        arguments_.push_back({ArgumentKind::string, 0, 0.0F, {first, first + 1}});
    } else if (token.find('.') != std::string_view::npos) {
        arguments_.push_back({ArgumentKind::floating, 0, numbertext::leadingFloat(token), {}});
    } else {
        arguments_.push_back({ArgumentKind::integer, numbertext::leadingInt32(token), 0.0F, {}});
    }
}

void OSCTemplate::addPieces(std::string_view text, bool dropsBrackets) {
    while (!text.empty()) {
        const std::size_t dollar = hasValue_ ? text.find('$') : std::string_view::npos;
        if (const std::string_view literal = text.substr(0, dollar); !literal.empty()) {
            if (dropsBrackets) {
                std::string kept(literal);
                std::erase(kept, '>');
                if (!kept.empty()) addLiteral(kept);
            } else {
                addLiteral(literal);
            }
        }
        if (dollar == std::string_view::npos) return;
        pieces_.push_back({PieceKind::valueText, 0, 0});
        text.remove_prefix(dollar + 1);
    }
}

void OSCTemplate::addLiteral(std::string_view text) {
    pieces_.push_back({PieceKind::literal, pool_.size(), text.size()});
    pool_.append(text);
}

bool OSCTemplate::isConstant(PieceRange range) const {
    return std::all_of(pieces_.begin() + static_cast<std::ptrdiff_t>(range.first),
                       pieces_.begin() + static_cast<std::ptrdiff_t>(range.end),
                       [](const Piece& piece) { return piece.kind == PieceKind::literal; });
}

std::size_t OSCTemplate::longest(PieceRange range) const {
    std::size_t length = 0;
    for (std::size_t i = range.first; i < range.end; ++i) {
        length += pieces_[i].kind == PieceKind::literal ? pieces_[i].length : maxNumberLength;
    }
    return length;
}

std::size_t OSCTemplate::assemble(PieceRange range, const Texts& texts) {
    std::size_t length = 0;
    const auto append = [&](const char* text, std::size_t size) {
        if (size > 0) std::memcpy(scratch_.data() + length, text, size);
        length += size;
    };
    for (std::size_t i = range.first; i < range.end; ++i) {
        switch (pieces_[i].kind) {
        case PieceKind::literal:
            append(view(pieces_[i]).data(), pieces_[i].length);
            break;
        case PieceKind::valueText:
            append(texts.value, texts.valueLength);
            break;
        case PieceKind::frame:
            append(texts.frame, texts.frameLength);
            break;
        case PieceKind::seconds:
            append(texts.seconds, texts.secondsLength);
            break;
        }
    }
    return length;
}

void OSCTemplate::emitComputed(PieceRange range, const Texts& texts, TemplateSink& sink) {
    const std::string_view token = trimmed({scratch_.data(), assemble(range, texts)});
    if (token.empty()) return;
    if (token.front() == '"') {
        char* const first = scratch_.data() + (token.data() - scratch_.data());
        char* const end = std::remove(first, first + token.size(), '"');
        sink.addString({first, static_cast<std::size_t>(end - first)});
    } else if (token.find('.') != std::string_view::npos) {
        sink.addFloat(numbertext::leadingFloat(token));
    } else {
        sink.addInt(numbertext::leadingInt32(token));
    }
}

void OSCTemplate::run(const TemplateInput& input, TemplateSink& sink) {
    Texts texts;
    if (usesValueText_) {
        if (input.textType == 0) {
            texts.valueLength = numbertext::writeFixed6(input.value / input.multiplier, texts.value);
        } else if (input.textType == 1 || input.textType == 2) {
            texts.valueLength = numbertext::writeInteger(numbertext::roundedInt32(input.value), texts.value);
        }
    }
    if (usesTime_) {
        texts.frameLength = numbertext::writeInteger(input.frame, texts.frame);
        const float seconds = static_cast<float>(input.frame) / static_cast<float>(input.compFPS);
        texts.secondsLength = numbertext::writeFixed6(seconds, texts.seconds);
    }

    if (constantAddress_) {
        sink.begin(pieces_.empty() ? std::string_view{} : view(pieces_[address_.first]));
    } else {
        std::size_t length = assemble(address_, texts);
        if (dropsLastCharacter_) length = lengthWithoutLastCharacter(scratch_.data(), length);
        sink.begin({scratch_.data(), length});
    }

    for (const Argument& argument : arguments_) {
        switch (argument.kind) {
        case ArgumentKind::string:
            sink.addString(view(pieces_[argument.pieces.first]));
            break;
        case ArgumentKind::floating:
            sink.addFloat(argument.floatValue);
            break;
        case ArgumentKind::integer:
            sink.addInt(argument.intValue);
            break;
        case ArgumentKind::computed:
            emitComputed(argument.pieces, texts, sink);
            break;
        }
    }

    if (!automaticArgument_) return;
    if (input.sendType == 0) {
        sink.addFloat(input.value / input.multiplier);
    } else if (input.sendType == 1) {
        sink.addInt(numbertext::roundedInt32(input.value));
    } else if (input.sendType == 2) {
        // The truth of the lowest byte alone: 256 is off.
        sink.addBOOL(static_cast<std::uint8_t>(numbertext::roundedInt32(input.value)) != 0);
    }
}

} // namespace marvo
