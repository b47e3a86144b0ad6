#include "midi_peer.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace marvo::e2e {

pid_t spawnSelf(const std::vector<std::string>& words, int input, int output) {
    static std::string program = [] {
        char path[4096];
        const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
        return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : std::string();
    }();
    std::vector<char*> arguments{program.data()};
    std::vector<std::string> own = words;
    for (std::string& word : own) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input, 0);
        dup2(output, 1);
        execv(program.c_str(), arguments.data());
        _exit(127);
    }
    return pid;
}

Peer::Peer(const std::string& system, const std::string& name) {
    int down[2];
    int up[2];
    if (pipe2(down, O_CLOEXEC) != 0 || pipe2(up, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    pid_ = spawnSelf({"--peer", system, name}, down[0], up[1]);
    close(down[0]);
    close(up[1]);
    to_ = fdopen(down[1], "w");
    from_ = fdopen(up[0], "r");
    answer();
}

Peer::~Peer() {
    std::fclose(to_);
    std::fclose(from_);
    // A client of a server that is gone may hang.
    int status = 0;
    for (int i = 0; i < 200 && waitpid(pid_, &status, WNOHANG) == 0; ++i) usleep(5000);
    kill(pid_, SIGKILL);
    waitpid(pid_, &status, 0);
}

std::vector<std::string> Peer::answer() {
    std::fflush(to_);
    std::vector<std::string> lines;
    char* line = nullptr;
    std::size_t space = 0;
    ssize_t size = 0;
    while ((size = getline(&line, &space, from_)) > 0) {
        std::string text(line, static_cast<std::size_t>(size - 1));
        if (text == ".") break;
        lines.push_back(std::move(text));
    }
    std::free(line);
    if (size <= 0) throw std::runtime_error("the peer has ended");
    return lines;
}

std::vector<std::string> Peer::ask(const std::string& command) {
    std::fputs((command + "\n").c_str(), to_);
    return answer();
}

std::vector<PeerEvent> Peer::takeHeard() {
    std::vector<PeerEvent> events;
    for (const std::string& line : ask("take")) {
        PeerEvent event;
        const std::size_t blank = line.find(' ');
        event.frame = std::stoull(line.substr(0, blank));
        for (std::size_t i = blank + 1; i + 1 < line.size(); i += 2)
            event.bytes.push_back(static_cast<std::uint8_t>(std::stoi(line.substr(i, 2), nullptr, 16)));
        events.push_back(std::move(event));
    }
    return events;
}

void Peer::play(const std::vector<PeerEvent>& events) {
    for (const PeerEvent& event : events) {
        std::string line = "event " + std::to_string(event.frame) + " ";
        char hex[3];
        for (const std::uint8_t byte : event.bytes) {
            std::snprintf(hex, sizeof hex, "%02x", byte);
            line += hex;
        }
        ask(line);
    }
    ask("play");
}

} // namespace marvo::e2e
