#include "endpoints/osc/OutputKeeper.h"

#include "endpoints/osc/UdpOSCWire.h"
#include "platform/UdpSocket.h"

#include <chrono>
#include <deque>
#include <map>
#include <netdb.h>

namespace marvo {
namespace {

constexpr std::chrono::milliseconds round{250};

} // namespace

NameLookup systemNameLookup() {
    return [](const std::string& name) -> LookupResult {
        addrinfo hints{};
        hints.ai_socktype = SOCK_DGRAM;
        hints.ai_family = AF_UNSPEC;
        addrinfo* found = nullptr;
        const int error = ::getaddrinfo(name.c_str(), nullptr, &hints, &found);
        if (error != 0) return {std::nullopt, ::gai_strerror(error)};
        LookupResult result;
        // IPv4 first: receivers beside a stage rarely listen on the other.
        for (const int family : {AF_INET, AF_INET6}) {
            for (const addrinfo* entry = found; entry && !result.address; entry = entry->ai_next) {
                if (entry->ai_family != family) continue;
                SocketAddress address;
                address.size = entry->ai_addrlen;
                __builtin_memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
                result.address = address.text();
            }
        }
        ::freeaddrinfo(found);
        if (!result.address) result.reason = "no usable address";
        return result;
    };
}

// Shared with the resolver thread, which may be stuck in the system for longer than the program wants to
// live.
struct OutputKeeper::Lookups {
    NameLookup lookUp;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::string> wanted;
    std::map<std::string, std::optional<LookupResult>> known; // empty while the look-up runs
    bool stopping = false;
    bool started = false;

    static void run(const std::shared_ptr<Lookups>& self) {
        std::unique_lock hold(self->lock);
        while (!self->stopping) {
            if (self->wanted.empty()) {
                self->changed.wait(hold);
                continue;
            }
            const std::string name = self->wanted.front();
            self->wanted.pop_front();
            hold.unlock();
            LookupResult result = self->lookUp(name);
            hold.lock();
            self->known[name] = std::move(result);
        }
    }
};

OutputKeeper::OutputKeeper(NameLookup lookUp) : lookups_(std::make_shared<Lookups>()) {
    lookups_->lookUp = std::move(lookUp);
    thread_ = std::thread([this] { run(); });
}

OutputKeeper::~OutputKeeper() {
    {
        const std::lock_guard hold(lock_);
        stopping_ = true;
        changed_.notify_all();
    }
    thread_.join();
    const std::lock_guard hold(lookups_->lock);
    lookups_->stopping = true;
    lookups_->changed.notify_all();
}

void OutputKeeper::add(const std::shared_ptr<UdpOSCWire>& wire) {
    const std::lock_guard hold(lock_);
    std::erase_if(wires_, [](const auto& known) { return known.expired(); });
    wires_.push_back(wire);
    hurried_ = true;
    changed_.notify_all();
}

void OutputKeeper::hurry() {
    const std::lock_guard hold(lock_);
    hurried_ = true;
    changed_.notify_all();
}

void OutputKeeper::onTrouble(std::function<void(const OutputTrouble&)> tell) {
    const std::lock_guard hold(tellLock_);
    tell_ = std::move(tell);
}

void OutputKeeper::tell(const OutputTrouble& trouble) {
    const std::lock_guard hold(tellLock_);
    if (tell_) tell_(trouble);
}

std::optional<LookupResult> OutputKeeper::resolve(const std::string& name) {
    const std::lock_guard hold(lookups_->lock);
    const auto found = lookups_->known.find(name);
    if (found != lookups_->known.end()) return found->second;
    lookups_->known.emplace(name, std::nullopt);
    lookups_->wanted.push_back(name);
    lookups_->changed.notify_all();
    if (!lookups_->started) {
        lookups_->started = true;
        std::thread([shared = lookups_] { Lookups::run(shared); }).detach();
    }
    return std::nullopt;
}

void OutputKeeper::forgetName(const std::string& name) {
    const std::lock_guard hold(lookups_->lock);
    const auto found = lookups_->known.find(name);
    if (found != lookups_->known.end() && found->second) lookups_->known.erase(found);
}

void OutputKeeper::run() {
    std::unique_lock hold(lock_);
    while (!stopping_) {
        if (!hurried_) changed_.wait_for(hold, round);
        hurried_ = false;
        if (stopping_) break;
        std::vector<std::shared_ptr<UdpOSCWire>> wires;
        for (const auto& weak : wires_) {
            if (auto wire = weak.lock()) wires.push_back(std::move(wire));
        }
        hold.unlock();
        for (const auto& wire : wires) wire->look(*this);
        wires.clear();
        hold.lock();
    }
}

} // namespace marvo
