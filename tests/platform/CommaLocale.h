// The German locale, with a comma for the decimal point, made for a test and set until it ends.
#pragma once

#include "TemporaryFolder.h"

#include <clocale>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace marvo {

class CommaLocale {
public:
    CommaLocale() {
        const std::string target = folder_.file("de_DE.UTF-8");
        std::string words[] = {"localedef", "-i", "de_DE", "-f", "UTF-8", target};
        char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                             words[4].data(), words[5].data(), nullptr};
        pid_t child = -1;
        int status = -1;
        if (::posix_spawnp(&child, "localedef", nullptr, nullptr, arguments, environ) == 0)
            ::waitpid(child, &status, 0);
        ::setenv("LOCPATH", folder_.path().c_str(), 1);
        std::setlocale(LC_ALL, "de_DE.UTF-8");
    }
    ~CommaLocale() {
        std::setlocale(LC_ALL, "C");
        ::unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    static bool isSet() { return std::string_view(std::localeconv()->decimal_point) == ","; }

private:
    TemporaryFolder folder_;
};

} // namespace marvo
