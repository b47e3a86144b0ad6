// The MIDI ports of the system: virtual outputs that we publish, one virtual input, and the sources and
// destinations of the machine as they come and go.
//
// Main thread, except where marked. Whoever sends looks nodes up in a published list that is replaced whole.
// A destination that stays keeps its node over every change of the machine's set-up, and so do virtual
// outputs whose name stays.
#pragma once

#include "endpoints/midi/MIDIDelivery.h"
#include "endpoints/midi/MIDIDestinations.h"
#include "endpoints/midi/MIDIOutputNode.h"
#include "endpoints/midi/MIDISourceNode.h"
#include "endpoints/midi/MIDITransport.h"
#include "platform/Log.h"
#include "platform/MainThread.h"
#include "platform/Notifications.h"
#include "platform/PropertyList.h"
#include "platform/Published.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace marvo {

class MarvoMIDIManager final : public MIDIDestinations {
public:
    static constexpr std::string_view receivingNodeName = "To Marvo";
    static constexpr std::string_view sendingNodeName = "Marvo Midi Out";

    // Nothing is published before start(). The log may be null.
    MarvoMIDIManager(MIDITransport& transport, MainThread& mainThread, NotificationCenter& center,
                     const Notifications& notifications, Log* log);
    ~MarvoMIDIManager() override; // the delegate is told nothing more
    MarvoMIDIManager(const MarvoMIDIManager&) = delete;
    MarvoMIDIManager& operator=(const MarvoMIDIManager&) = delete;

    // Makes the virtual nodes and looks at the machine; from here on changes of its set-up are followed.
    void start();
    // Null takes nothing. Returns when no delivery to the one before is under way, so it must not be waited
    // for by one.
    void setDelegate(MIDIMessageReceiver* delegate);
    std::function<void()> onBeep;
    // The tables of the preferences window.
    std::function<void()> onInputsTableChanged;
    std::function<void()> onOutputsTableChanged;

    // Two outputs, one input. What cannot be made is logged and left out.
    void createVirtualNodes();
    // Replaces all virtual outputs by outputs of these names.
    void createOutputs(const std::vector<std::string>& names);
    // Posts "midiSetupChanged" after the delegate was told, and "midiOutputsChanged" at its end.
    void setupChanged();
    void createNewOutput();
    // Beeps and changes nothing without a selected row, or when it would be the last output. The node is a
    // destination until the set-up of the machine changes.
    void removeOutput(std::optional<std::size_t> selectedRow);
    bool nodeNameAvailable(std::string_view name) const;

    const std::vector<std::shared_ptr<MIDIOutputNode>>& midiOutNodes() const { return midiOutNodes_; }
    std::vector<std::string> midiOutNodeNames() const override;
    std::vector<std::string> detectedMidiOutNodeNames() const override;
    // Thread-safe, both: virtual outputs first; and the destinations alone, in which a virtual output that
    // was made since the last change of the set-up stands too.
    std::shared_ptr<MarvoMIDINode> findDestNodeNamed(std::string_view name) const override;
    std::shared_ptr<MarvoMIDINode> findRealDestNodeNamed(std::string_view name) const;

    // Of the machine, in the order in which it told them.
    const std::vector<std::shared_ptr<MIDISourceNode>>& sourceArray() const { return sourceArray_; }
    std::vector<std::string> sourceNodeNameArray() const;
    std::shared_ptr<MIDISourceNode> findSourceNodeNamed(std::string_view name) const;

    // The input table, sorted by name.
    struct InputRow {
        std::string name;
        bool enabled = false;
        bool feedback = false;
    };
    std::vector<InputRow> inputRows() const;
    void toggleMidiPort(std::size_t row);
    void toggleMidiFeedback(std::size_t row);
    // The user's own choice stays stored and holds again at the next change of the set-up.
    void needsCheckOutputSelected(const MarvoMIDINode& node) override;
    void applyCachedMIDIStates();

    // To the destinations that bear the names of the ticked sources. Thread-safe and realtime-safe. Also done
    // for every post of "sendMIDIFeedback", which carries a MIDIMessage.
    void sendMIDIFeedback(const MIDIMessage& message) const;

    // Handed to the sound system by all outputs, removed ones included. Main thread.
    MIDIPortCounters messages() const;

    // Ends every note that sounds through any output. Thread-safe, realtime-safe.
    void silence() const;

    // Enabled state per source name.
    PropertyList createSnapshot() const;
    // Anything that is no such state is passed over.
    void loadSnapshot(const PropertyList& snapshot);
    // The records "midiInputs", "midiOutputs", "cachedMIDIStates" and "feedbackNodes" of a dictionary.
    void saveInto(PropertyList& preferences) const;
    void load(const PropertyList& preferences);

private:
    using Outputs = std::vector<std::shared_ptr<MIDIOutputNode>>;

    struct Shown {
        Outputs outputs;
        Outputs destinations;
        std::set<std::string> feedback;
    };

    std::shared_ptr<MIDIOutputNode> makeSender(const std::string& name) const;
    std::shared_ptr<MarvoMIDINode> unlistedNode(std::string_view name) const;
    void loadMIDIInputSources(const MIDIEndpoints& endpoints);
    void loadMIDIOutputDestinations(const MIDIEndpoints& endpoints);
    void publish();
    void letGo(Outputs nodes);
    void outputsChanged();
    void inputsTableChanged() const;
    void outputsTableChanged() const;
    std::vector<std::string> sortedSourceNames() const;

    MIDITransport& transport_;
    MainThread& mainThread_;
    NotificationCenter& center_;
    const Notifications& notifications_;
    Log* const log_;
    const Notification<MIDIMessage> sendMIDIFeedbackName_;
    const std::shared_ptr<MIDIDelivery> delivery_ = std::make_shared<MIDIDelivery>();
    MIDIMessageReceiver* delegate_ = nullptr;

    Outputs midiOutNodes_;
    Outputs destArray_;
    MIDIPortCounters ofGone_; // what nodes had counted that are freed
    Outputs leaving_; // dropped, but perhaps held by whoever is sending; freed here, never on the tick
    std::vector<std::shared_ptr<MIDISourceNode>> sourceArray_;
    std::shared_ptr<MIDISourceNode> virtualSource_;
    PropertyList midiSnapshot_;
    std::map<std::string, bool> cachedMIDIStates_;
    std::set<std::string> feedbackNodes_;
    Published<Shown> shown_;

    // Of a transport that has every destination: made when they are asked for.
    mutable std::mutex unlistedLock_;
    mutable std::map<std::string, std::shared_ptr<MIDIOutputNode>, std::less<>> unlisted_;

    MainThread::Signal setupSignal_;
    MainThread::Signal inputsTableSignal_;
    Observation feedbackObservation_;
};

} // namespace marvo
