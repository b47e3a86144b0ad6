// Brings the application's ports to a sound system, and back to it after every loss.
//
// One thread opens a session with the first sound system that lets us in, looks at the machine, opens and
// closes ports, and tells of trouble once when it begins and once when it ends. It alone calls the sound
// system, which may take its time; nobody waits for it for longer than a bound.
//
// Thread-safe unless said otherwise. Made by make(); the thread holds it too, so that it may outlive the
// transport when the sound system does not return.
#pragma once

#include "endpoints/midi/MIDIEndpointNames.h"
#include "endpoints/midi/MIDIPorts.h"
#include "endpoints/midi/MIDISession.h"
#include "endpoints/midi/MIDITransport.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace marvo {

class MIDIKeeper : public std::enable_shared_from_this<MIDIKeeper> {
public:
    using Time = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds retryInterval{300}; // while no sound system lets us in
    static constexpr std::chrono::milliseconds lookInterval{100};  // at the session
    // A sound system may say that something changes before it has; and what it says may get lost.
    static constexpr std::chrono::milliseconds settling{500};
    static constexpr std::chrono::milliseconds longestUnseen{1000};
    static constexpr std::chrono::milliseconds closingInterval{2};  // while ports wait for their last notes
    static constexpr std::chrono::milliseconds longestClosing{250}; // of a port
    static constexpr std::chrono::milliseconds longestStop{2000};   // of the thread
    static constexpr std::chrono::milliseconds longestFirstLook{1000};

    // Returns when the machine was looked at for the first time, or within longestFirstLook.
    static std::shared_ptr<MIDIKeeper> make(std::vector<std::unique_ptr<MIDIBackend>> backends);
    ~MIDIKeeper();
    MIDIKeeper(const MIDIKeeper&) = delete;
    MIDIKeeper& operator=(const MIDIKeeper&) = delete;

    // Ends all notes, leaves the sound system and ends the thread. Once.
    void stop();

    std::shared_ptr<MIDIOutPort> addSender(const std::string& name);
    // Null when there is no such endpoint.
    std::shared_ptr<MIDIOutPort> addDestination(const MIDIEndpoint& endpoint);
    std::shared_ptr<MIDIInPort> addReceiver(const std::string& name,
                                            std::shared_ptr<MIDIInputReceiver> receiver);
    std::shared_ptr<MIDIInPort> addSource(const MIDIEndpoint& endpoint,
                                          std::shared_ptr<MIDIInputReceiver> receiver);

    std::string_view kind() const; // of the session; "away" without one
    std::string whyAway() const;   // empty with one
    MIDIEndpoints endpoints() const;
    void onSetupChanged(std::function<void()> tell);
    // Is told at once of what is wrong already.
    void onTrouble(std::function<void(const MIDITrouble&)> tell);

    // Looks at ports and session at once. Realtime-safe.
    void kick() const;
    // Something was put into a queue. Realtime-safe.
    void wakeOutputs() { outputWakeup_.wake(); }
    // Async-signal-safe.
    void flushNotesOnCrash() noexcept;

private:
    template <class Port>
    struct Entry {
        std::shared_ptr<Port> port;
        // Keeper thread.
        bool open = false;
        std::string address;
        std::string trouble;
        Time::time_point nextTry{};
        // Under the lock.
        bool closing = false; // its last notes are leaving
        bool spent = false;   // it was closing once: nobody gets it again
        Time::time_point closingSince{};
    };
    using OutEntry = Entry<MIDIOutPort>;
    using InEntry = Entry<MIDIInPort>;

    struct Known {
        std::map<std::string, std::string> sources; // id to address
        std::map<std::string, std::string> destinations;
    };

    static constexpr std::string_view away = "away";

    explicit MIDIKeeper(std::vector<std::unique_ptr<MIDIBackend>> backends);
    void run();
    void openSession();
    void loseSession(const std::string& reason);
    void look();
    void lookIfNeeded();
    static MIDIEndpoints named(const MIDIFoundEndpoints& found, MIDIEndpointNames& sources,
                               MIDIEndpointNames& destinations, Known& known);
    void reconcile();
    void reconcileOutput(OutEntry& entry);
    void reconcileInput(InEntry& entry);
    // Why not, empty when it is open now; nothing while it is too early to try again.
    template <class Port>
    std::optional<std::string> openPort(Entry<Port>& entry, const std::string& address);
    void loseOutput(OutEntry& entry);
    void tellLost(const Known& known);
    void tellReturned();
    void waitWhileCrashing() const;
    void finishClosing(OutEntry& entry);
    bool sameNameIsClosing(const OutEntry& entry);
    template <class Port>
    void setTrouble(Entry<Port>& entry, const std::string& reason);
    void tell(const MIDITrouble& trouble);
    void setSessionTrouble(const std::string& reason);
    void closeAll();
    void wait(std::chrono::milliseconds longest) const;

    const std::vector<std::unique_ptr<MIDIBackend>> backends_;
    int wake_ = -1;
    MIDIWakeup outputWakeup_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> crashing_{false};
    std::atomic<MIDISession*> crashSession_{nullptr};

    // Keeper thread.
    std::unique_ptr<MIDISession> session_;
    MIDIEndpointNames sourceNames_;
    MIDIEndpointNames destinationNames_;
    std::string sessionTrouble_;
    Time::time_point settledAt_{};
    Time::time_point lookedAt_{};
    std::set<std::string> lost_; // destinations that were in use when they went

    mutable std::mutex lock_; // never held while the sound system or a function of others is called
    std::condition_variable changed_;
    std::vector<std::shared_ptr<OutEntry>> outputs_;
    std::vector<std::shared_ptr<InEntry>> inputs_;
    std::uint32_t nextNumber_ = 1;
    std::string_view kind_ = away;
    MIDIEndpoints endpoints_;
    Known known_;
    bool hasSession_ = false;
    bool lookedOnce_ = false;
    bool ended_ = false;

    mutable std::mutex tellLock_;
    std::function<void()> tellSetupChanged_;
    std::function<void(const MIDITrouble&)> tellTrouble_;
    std::map<std::string, std::string> troubles_; // port to reason
    std::thread thread_;
};

} // namespace marvo
