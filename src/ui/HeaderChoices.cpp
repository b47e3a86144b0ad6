#include "ui/HeaderChoices.h"

#include "composition/MarvoTimelineCompositionTrack.h"
#include "tracks/MarvoTimelineColorTrack.h"
#include "tracks/MarvoTimelineFlagTrack.h"
#include "tracks/MarvoTimelineTrack.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace marvo::ui {
namespace {

std::vector<HeaderChoice> titled(const std::vector<std::string>& titles) {
    std::vector<HeaderChoice> choices;
    for (const std::string& title : titles) choices.push_back({QString::fromStdString(title), true});
    return choices;
}

std::vector<HeaderChoice> numbers(int first, int last) {
    std::vector<HeaderChoice> choices;
    for (int i = first; i <= last; ++i) choices.push_back({QString::number(i), true});
    return choices;
}

// A note list never crosses the other one.
std::vector<HeaderChoice> notes(int first, int last, int above, int below) {
    std::vector<HeaderChoice> choices = numbers(first, last);
    for (HeaderChoice& choice : choices) {
        const int number = choice.title.toInt();
        choice.enabled = number > above && number < below;
    }
    return choices;
}

// As the application's own menu of formats; the one that is not its own title comes as it is stored.
constexpr std::array<std::array<const char*, 2>, 10> colorFormats{{{"RGB", "RGB"},
                                                                   {"RGBW", "RGBW"},
                                                                   {"RGBWA", "RGBWA"},
                                                                   {"RGB+Amber", "RGBA"},
                                                                   {"BGR", "BGR"},
                                                                   {"BRG", "BRG"},
                                                                   {"GRB", "GRB"},
                                                                   {"GBR", "GBR"},
                                                                   {"CMY", "CMY"},
                                                                   {"L", "L"}}};

float storedBound(const MarvoTimelineTrack& track, double shown) {
    const bool scaled = track.kind() == TrackKind::oscValue && track.trackOSCType() == 0;
    return static_cast<float>(scaled ? shown * static_cast<double>(track.oscFloatMultiplerByDigits())
                                     : shown);
}

} // namespace

QString colorFormatTitle(const std::string& format) {
    for (const auto& [title, stored] : colorFormats) {
        if (format == stored) return QString::fromLatin1(title);
    }
    return QString::fromStdString(format);
}

std::vector<HeaderChoice> choicesOf(MarvoTimelineTrackProtocol& track, HeaderPart part,
                                    const CompositionServices& services) {
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track);
    switch (part) {
    case HeaderPart::output:
        if (!plain) break;
        if (isOSC(plain->kind())) return titled(services.oscManager.outPortLabelArray());
        if (isArtNet(plain->kind())) return titled(services.dmx.artNetOutputNames());
        return titled(plain->midiOutputTitles());
    case HeaderPart::midiChannel:
        return numbers(1, 16);
    case HeaderPart::midiCC:
        return numbers(0, 127);
    case HeaderPart::noteFrom:
        return notes(0, 127, -1, plain ? std::atoi(plain->settings().midiNotesTo.c_str()) : 128);
    case HeaderPart::noteTo:
        return notes(1, 127, plain ? std::atoi(plain->settings().midiNotesFrom.c_str()) : -1, 128);
    case HeaderPart::oscType: {
        if (!plain) break;
        std::vector<HeaderChoice> choices;
        for (const QString& type : oscTypeTitles(plain->kind())) choices.push_back({type, true});
        return choices;
    }
    case HeaderPart::colorFormat: {
        std::vector<HeaderChoice> choices;
        for (const auto& format : colorFormats) choices.push_back({QString::fromLatin1(format[0]), true});
        return choices;
    }
    case HeaderPart::source:
        if (auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(&track)) {
            block->buildCompositionsList();
            std::vector<HeaderChoice> choices;
            for (const auto& source : block->compositionSources())
                choices.push_back({QString::fromStdString(source.title), source.isEnabled});
            return choices;
        }
        break;
    default:
        break;
    }
    return {};
}

void takeChoice(MarvoTimelineController& composition, MarvoTimelineTrackProtocol& track, HeaderPart part,
                const QString& title) {
    const std::string text = title.toStdString();
    if (auto* block = dynamic_cast<MarvoTimelineCompositionTrack*>(&track)) {
        if (part == HeaderPart::source) block->selectCompositionSource(text);
        return;
    }
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track);
    if (!plain) return;
    switch (part) {
    case HeaderPart::output:
        if (isOSC(plain->kind()))
            plain->selectOSCOutput(text);
        else if (isArtNet(plain->kind()))
            plain->selectArtNetOutput(text);
        else
            plain->selectMIDIOutput(text);
        break;
    case HeaderPart::midiChannel:
        plain->setMidiChannel(text);
        break;
    case HeaderPart::midiCC:
        plain->setMidiCC(text);
        break;
    case HeaderPart::noteFrom:
        plain->setMidiNotes(text, plain->settings().midiNotesTo);
        break;
    case HeaderPart::noteTo:
        plain->setMidiNotes(plain->settings().midiNotesFrom, text);
        break;
    case HeaderPart::oscType: {
        const std::vector<QString> types = oscTypeTitles(plain->kind());
        const auto chosen = std::find(types.begin(), types.end(), title);
        if (chosen == types.end()) break;
        PropertyList data = PropertyList::dictionary();
        data.set("trackOSCType", std::int64_t{chosen - types.begin()});
        if (plain->kind() == TrackKind::oscColor)
            composition.trackEdits.undoChangeOSCColorPreferencesOnTrack(plain->trackPosition(), data);
        else
            composition.trackEdits.undoChangeOSCPreferencesOnTrack(plain->trackPosition(), data);
        break;
    }
    case HeaderPart::colorFormat:
        if (auto* color = dynamic_cast<MarvoTimelineColorTrack*>(plain)) {
            for (const auto& format : colorFormats) {
                if (title == QLatin1String(format[0])) color->setArtNetColorFormat(format[1]);
            }
        }
        break;
    default:
        break;
    }
}

bool takeText(MarvoTimelineController& composition, MarvoTimelineTrackProtocol& track, HeaderPart part,
              const QString& text) {
    if (part == HeaderPart::name) {
        const std::string name = text.toStdString();
        if (name == track.name()) return true;
        if (!composition.isAvailableTrackName(name, false, &track)) return false;
        composition.trackEdits.undoRenameOnTrack(track.trackPosition(), name);
        return true;
    }
    auto* plain = dynamic_cast<MarvoTimelineTrack*>(&track);
    if (!plain) return false;
    switch (part) {
    case HeaderPart::address:
        if (auto* flags = dynamic_cast<MarvoTimelineFlagTrack*>(plain)) {
            flags->setFlagAddress(text.toStdString());
            return true;
        }
        composition.trackEdits.undoChangeOSCAddressOnTrack(plain->trackPosition(), text.toStdString());
        return true;
    case HeaderPart::dmxChannels:
        composition.trackEdits.undoChangeArtNetChannelOnTrack(plain->trackPosition(), text.toStdString());
        return true;
    case HeaderPart::minimum:
    case HeaderPart::maximum: {
        bool isNumber = false;
        const double shown = QString(text).replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&isNumber);
        if (!isNumber || !std::isfinite(shown)) return false;
        const float bound = storedBound(*plain, shown);
        const bool low = part == HeaderPart::minimum;
        const float minimum = low ? bound : plain->trackMinValue();
        const float maximum = low ? plain->trackMaxValue() : bound;
        if (!(minimum < maximum)) return false;
        PropertyList data = PropertyList::dictionary();
        data.set("trackMinValue", static_cast<double>(minimum));
        data.set("trackMaxValue", static_cast<double>(maximum));
        composition.trackEdits.undoChangeOSCPreferencesOnTrack(plain->trackPosition(), data);
        return true;
    }
    default:
        return false;
    }
}

} // namespace marvo::ui
