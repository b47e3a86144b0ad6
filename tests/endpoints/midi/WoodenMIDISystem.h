// What would come from JACK or ALSA, told by the test.
#pragma once

#include "endpoints/midi/MIDIKeeper.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace marvo {

// A sound system of wood. It feeds its ports whenever a test says so, and lives on after its sessions.
class WoodenSystem {
public:
    std::mutex lock;
    bool isThere = true;
    bool sessionEnded = false;
    bool setupChanged = false;
    bool answers = true; // false: calls do not return until it is true
    MIDIFoundEndpoints found;
    std::set<std::string> refused; // names of ports
    int sessions = 0;
    std::atomic<int> attempts{0}; // to open a session, or to open a port that is refused
    std::function<void()> kick;
    std::vector<std::pair<std::shared_ptr<MIDIOutPort>, std::string>> outs; // with addresses
    std::vector<std::pair<std::shared_ptr<MIDIInPort>, std::string>> ins;
    std::vector<std::string> lines;
    std::function<void()> beforeOpening; // on the keeper's thread
    std::atomic<bool> crash{false};
    std::atomic<bool> crashIsOver{false};

    void change(const std::function<void()>& how) {
        const std::lock_guard hold(lock);
        how();
        if (kick) kick();
    }
    void plug(const MIDIFoundEndpoint& one) {
        change([&] {
            found.sources.push_back(one);
            found.destinations.push_back(one);
            setupChanged = true;
        });
    }
    void unplug(const std::string& name) {
        change([&] {
            const auto isIt = [&](const MIDIFoundEndpoint& one) { return one.baseName == name; };
            std::erase_if(found.sources, isIt);
            std::erase_if(found.destinations, isIt);
            setupChanged = true;
        });
    }
    void die() {
        change([&] {
            isThere = false;
            sessionEnded = true;
        });
    }
    void comeBack() {
        change([&] { isThere = true; });
    }

    // One round of the sound system: what is in the queues becomes lines.
    void round() {
        const std::lock_guard hold(lock);
        for (const auto& [port, address] : outs) {
            Writer writer(*this, port->name);
            if (crash.load())
                crashIsOver.store(port->queue.drainLast(writer));
            else
                port->queue.drain(writer);
        }
    }
    std::vector<std::string> played() {
        round();
        const std::lock_guard hold(lock);
        return std::exchange(lines, {});
    }
    std::size_t openCount() {
        const std::lock_guard hold(lock);
        return outs.size() + ins.size();
    }
    bool isOpen(const std::string& name) {
        const std::lock_guard hold(lock);
        return std::any_of(outs.begin(), outs.end(),
                           [&](const auto& out) { return out.first->name == name; });
    }

private:
    class Writer final : public MIDISendQueue::Emitter {
    public:
        Writer(WoodenSystem& system, const std::string& name) : system_(system), name_(name) {}
        std::size_t largest() const override { return sizeof space_; }
        bool isHeard() override { return true; }
        bool isStale(std::uint64_t) override { return false; }
        std::uint8_t* reserve(std::uint64_t, std::size_t size) override {
            size_ = size;
            return space_;
        }
        bool commit() override {
            system_.lines.push_back(name_ + ": " + hexOf({space_, size_}));
            return true;
        }

    private:
        WoodenSystem& system_;
        const std::string& name_;
        std::uint8_t space_[100];
        std::size_t size_ = 0;
    };
};

class WoodenSession final : public MIDISession {
public:
    explicit WoodenSession(WoodenSystem& system) : system_(system) {}
    ~WoodenSession() override {
        const std::lock_guard hold(system_.lock);
        system_.outs.clear();
        system_.ins.clear();
        system_.kick = nullptr;
    }
    std::string ended() override {
        eventually([this] {
            const std::lock_guard hold(system_.lock);
            return system_.answers;
        });
        const std::lock_guard hold(system_.lock);
        return system_.sessionEnded ? "it has ended" : "";
    }
    bool takeSetupChanged() override {
        const std::lock_guard hold(system_.lock);
        return std::exchange(system_.setupChanged, false);
    }
    MIDIFoundEndpoints look() override {
        const std::lock_guard hold(system_.lock);
        return system_.found;
    }
    std::string open(const std::shared_ptr<MIDIOutPort>& port, const std::string& address) override {
        if (system_.beforeOpening) system_.beforeOpening();
        const std::lock_guard hold(system_.lock);
        if (system_.refused.contains(port->name)) {
            ++system_.attempts;
            return "refused";
        }
        system_.outs.emplace_back(port, address);
        return {};
    }
    std::string open(const std::shared_ptr<MIDIInPort>& port, const std::string& address) override {
        const std::lock_guard hold(system_.lock);
        if (system_.refused.contains(port->name)) return "refused";
        system_.ins.emplace_back(port, address);
        return {};
    }
    void close(const MIDIOutPort& port) override {
        const std::lock_guard hold(system_.lock);
        std::erase_if(system_.outs, [&](const auto& out) { return out.first.get() == &port; });
    }
    void close(const MIDIInPort& port) override {
        const std::lock_guard hold(system_.lock);
        std::erase_if(system_.ins, [&](const auto& in) { return in.first.get() == &port; });
    }
    void beginCrash() noexcept override { system_.crash.store(true); }
    bool crashIsOver() const noexcept override { return system_.crashIsOver.load(); }

private:
    WoodenSystem& system_;
};

class WoodenBackend final : public MIDIBackend {
public:
    explicit WoodenBackend(WoodenSystem& system) : system_(system) {}
    std::string_view kind() const override { return "wood"; }
    std::unique_ptr<MIDISession> open(const MIDISessionHost& host, std::string& reason) override {
        const std::lock_guard hold(system_.lock);
        ++system_.attempts;
        if (!system_.isThere) {
            reason = "it is away";
            return nullptr;
        }
        ++system_.sessions;
        system_.sessionEnded = false;
        system_.kick = host.kick;
        return std::make_unique<WoodenSession>(system_);
    }

private:
    WoodenSystem& system_;
};

} // namespace marvo
