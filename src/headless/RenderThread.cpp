#include "headless/RenderThread.h"

#include "headless/RenderLoop.h"

namespace marvo {

RealtimeResult RenderThread::start(const RenderOptions& options) {
    RealtimeOptions realtime;
    realtime.name = "marvo-render";
    realtime.bestEffort = options.bestEffort;
    return thread_.start(
        realtime, [this, precise = options.precise](RealtimeThread& thread) { loop(thread, precise); });
}

void RenderThread::stop() {
    thread_.requestStop();
    thread_.join();
}

void RenderThread::loop(RealtimeThread& thread, bool precise) {
    const MonotonicClock clock;
    const Duration spin = precise ? RenderLoop::spin : Duration();
    RenderLoop loop(
        clock,
        {.begin = [this](MonotonicTime now) { application_.startRendering(now); },
         .tick = [this](MonotonicTime now) { application_.renderTick(now); },
         .sleepUntil = [spin](MonotonicTime deadline) { RealtimeThread::sleepUntil(deadline, spin); }},
        statistics_);
    while (!thread.stopRequested()) loop.pass();
}

std::string RenderThread::statisticsText(AppDelegate& application) const {
    return statistics_.text({{"osc", application.oscManager().messagesSent()},
                             {"midi", application.midiManager().messages().sent},
                             {"artnet", application.artNetManager().packetsSent()}});
}

} // namespace marvo
