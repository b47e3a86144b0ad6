#include "endpoints/midi/KeptMIDITransport.h"

#include "endpoints/midi/MIDIKeeper.h"

namespace marvo {

namespace {

std::uint64_t now() {
    return MonotonicClock().now().nanoseconds;
}

class OutputHandle final : public MIDIOutput {
public:
    OutputHandle(std::shared_ptr<MIDIKeeper> keeper, std::shared_ptr<MIDIOutPort> port)
        : keeper_(std::move(keeper)), port_(std::move(port)) {}
    ~OutputHandle() override {
        port_->held.store(false);
        keeper_->kick();
    }
    OutputHandle(const OutputHandle&) = delete;
    OutputHandle& operator=(const OutputHandle&) = delete;

    void send(std::span<const MIDIMessage> messages, const SendOrigin&) override {
        port_->queue.push(messages, now());
        wake();
    }
    void sendSysex(std::span<const std::uint8_t> payload, const SendOrigin&) override {
        port_->queue.pushSysex(payload, now());
        wake();
    }
    void silence() override {
        // What was never sent to has nothing to end.
        if (!port_->wanted.load(std::memory_order_relaxed)) return;
        port_->queue.pushSilence(now());
        wake();
    }
    void prepare() override {
        if (port_->wanted.load(std::memory_order_relaxed)) return;
        if (!port_->wanted.exchange(true)) keeper_->kick();
    }
    MIDIPortCounters counters() const override { return port_->queue.counters(); }

private:
    void wake() {
        prepare();
        keeper_->wakeOutputs();
    }

    const std::shared_ptr<MIDIKeeper> keeper_;
    const std::shared_ptr<MIDIOutPort> port_;
};

class InputHandle final : public MIDIInput {
public:
    InputHandle(std::shared_ptr<MIDIKeeper> keeper, std::shared_ptr<MIDIInPort> port)
        : keeper_(std::move(keeper)), port_(std::move(port)) {}
    ~InputHandle() override {
        port_->held.store(false, std::memory_order_release);
        keeper_->kick();
    }
    InputHandle(const InputHandle&) = delete;
    InputHandle& operator=(const InputHandle&) = delete;

private:
    const std::shared_ptr<MIDIKeeper> keeper_;
    const std::shared_ptr<MIDIInPort> port_;
};

} // namespace

KeptMIDITransport::KeptMIDITransport(std::vector<std::unique_ptr<MIDIBackend>> backends)
    : keeper_(MIDIKeeper::make(std::move(backends))) {}

KeptMIDITransport::~KeptMIDITransport() {
    keeper_->onSetupChanged(nullptr);
    keeper_->onTrouble(nullptr);
    keeper_->stop();
}

std::string_view KeptMIDITransport::kind() const {
    return keeper_->kind();
}

std::string KeptMIDITransport::whyAway() const {
    return keeper_->whyAway();
}

std::unique_ptr<MIDIOutput> KeptMIDITransport::makeVirtualSender(const std::string& name) {
    if (name.empty()) return nullptr;
    return std::make_unique<OutputHandle>(keeper_, keeper_->addSender(name));
}

std::unique_ptr<MIDIInput>
KeptMIDITransport::makeVirtualReceiver(const std::string& name, std::shared_ptr<MIDIInputReceiver> receiver) {
    if (name.empty()) return nullptr;
    return std::make_unique<InputHandle>(keeper_, keeper_->addReceiver(name, std::move(receiver)));
}

MIDIEndpoints KeptMIDITransport::endpoints() const {
    return keeper_->endpoints();
}

std::unique_ptr<MIDIOutput> KeptMIDITransport::openDestination(const MIDIEndpoint& endpoint) {
    auto port = keeper_->addDestination(endpoint);
    return port ? std::make_unique<OutputHandle>(keeper_, std::move(port)) : nullptr;
}

std::unique_ptr<MIDIInput> KeptMIDITransport::openSource(const MIDIEndpoint& endpoint,
                                                         std::shared_ptr<MIDIInputReceiver> receiver) {
    auto port = keeper_->addSource(endpoint, std::move(receiver));
    return port ? std::make_unique<InputHandle>(keeper_, std::move(port)) : nullptr;
}

void KeptMIDITransport::onSetupChanged(std::function<void()> tell) {
    keeper_->onSetupChanged(std::move(tell));
}

void KeptMIDITransport::onTrouble(std::function<void(const MIDITrouble&)> tell) {
    keeper_->onTrouble(std::move(tell));
}

void KeptMIDITransport::flushNotesOnCrash() noexcept {
    keeper_->flushNotesOnCrash();
}

} // namespace marvo
