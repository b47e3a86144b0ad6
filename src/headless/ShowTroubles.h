// What is wrong with the outputs of a show at present, by their names: OSC outputs by their labels,
// "Art-Net", "MIDI" for the sound system as a whole, and MIDI ports by theirs.
//
// Kept from before the ports open, so that whoever begins to show it late misses nothing. Main thread.
#pragma once

#include "endpoints/osc/OSCTransport.h"

#include <map>
#include <string>

namespace marvo {

class ShowTroubles {
public:
    // An empty reason ends it.
    void set(const std::string& name, const std::string& reason) { put(present_, name, reason); }
    void set(const OutputTrouble& trouble) {
        auto& kept = trouble.kind == OutputTrouble::Kind::tooLarge ? tooLarge_ : present_;
        put(kept, trouble.label, trouble.began ? trouble.reason : std::string());
    }

    // Those that can end, by name.
    const std::map<std::string, std::string>& present() const { return present_; }
    // The reason, or empty. A network that fails hides a message that was too large, whose trouble nothing
    // ends.
    std::string of(const std::string& name) const {
        for (const auto* kept : {&present_, &tooLarge_}) {
            if (const auto found = kept->find(name); found != kept->end()) return found->second;
        }
        return {};
    }

private:
    static void put(std::map<std::string, std::string>& kept, const std::string& name,
                    const std::string& reason) {
        if (reason.empty()) {
            kept.erase(name);
        } else {
            kept[name] = reason;
        }
    }

    std::map<std::string, std::string> present_;
    std::map<std::string, std::string> tooLarge_;
};

} // namespace marvo
