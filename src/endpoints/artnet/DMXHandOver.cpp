#include "endpoints/artnet/DMXHandOver.h"

namespace marvo {

DMXHandOver::DMXHandOver() : pairs_(new std::array<Pair, universeCount>()) {
    const std::array<std::byte, channelsOfAUniverse> dark{};
    for (int universe = 0; universe < universeCount; ++universe) {
        for (Packet& packet : (*pairs_)[static_cast<std::size_t>(universe)].packets)
            encodeArtNet(ArtDmx{0, 0, static_cast<std::uint16_t>(universe), dark}, packet.bytes());
    }
}

DMXHandOver::Captured DMXHandOver::capture(DMXBuffer& buffer, const UniverseSet& mask) {
    bool changed = false;
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word)
        changed = changed || buffer.hasChanged(word, mask.words[word]);
    if (!changed) return Captured::nothing;
    if (!enter()) return Captured::notNow;
    UniverseSet now;
    for (std::size_t word = 0; word < UniverseSet::wordCount; ++word)
        now.words[word] = buffer.takeChanged(word, mask.words[word]);
    now.forEach([&](int universe) {
        Pair& pair = (*pairs_)[static_cast<std::size_t>(universe)];
        buffer.copyUniverse(
            universe, pair.packets[1 - pair.held].bytes().subspan<ArtDmx::headerSize, ArtDmx::largestData>());
    });
    captured_ |= now;
    waiting_.store(!captured_.isEmpty());
    leave();
    return Captured::something;
}

UniverseSet DMXHandOver::take(bool& busy) {
    UniverseSet taken;
    busy = !enter();
    if (busy) return taken;
    taken = captured_;
    captured_.clear();
    taken.forEach([&](int universe) {
        Pair& pair = (*pairs_)[static_cast<std::size_t>(universe)];
        pair.held = static_cast<std::uint8_t>(1 - pair.held);
    });
    waiting_.store(false);
    leave();
    return taken;
}

} // namespace marvo
