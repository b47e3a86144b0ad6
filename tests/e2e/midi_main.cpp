// Runs the tests in a world of their own: no network, no processes of others, and a shared memory in which no
// other sound server can be met. Nothing is left when they are killed.
#include "midi_crash.h"
#include "midi_peer_ports.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* insideMark = "MARVO_E2E_NAMESPACE";

void enterWorld(char** arguments) {
    setenv(insideMark, "1", 1);
    char program[4096] = {};
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0) std::exit(1);
    std::vector<std::string> words = {"unshare", "--net",        "--mount",      "--ipc", "--pid",
                                      "--fork",  "--kill-child", "--mount-proc", program};
    if (geteuid() != 0) words.insert(words.end() - 1, "--map-root-user");
    std::vector<char*> command;
    for (std::string& word : words) command.push_back(word.data());
    for (char** each = arguments + 1; *each; ++each) command.push_back(*each);
    command.push_back(nullptr);
    execvp("unshare", command.data());
    std::perror("unshare");
    std::exit(1);
}

} // namespace

int main(int count, char** arguments) {
    const std::string_view word = count > 1 ? arguments[1] : "";
    if (word == "--peer" && count > 3) return marvo::e2e::runPeer(arguments[2], arguments[3]);
    if (word == "--crash" && count > 3) return marvo::e2e::playUntilCrash(arguments[2], arguments[3]);
    bool onlyLists = false;
    for (int i = 1; i < count; ++i) onlyLists |= std::strcmp(arguments[i], "--gtest_list_tests") == 0;
    if (!onlyLists) {
        if (!std::getenv(insideMark)) enterWorld(arguments);
        if (mount("tmpfs", "/dev/shm", "tmpfs", 0, nullptr) != 0) {
            std::perror("/dev/shm");
            return 1;
        }
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
