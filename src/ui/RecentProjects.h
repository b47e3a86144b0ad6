// The projects that were opened or saved last, newest first, remembered over runs.
//
// One small file in the state folder, written whole at each change. Several programs may run side by side:
// each change starts from what is on the disk. A file that cannot be read counts as empty and is replaced by
// the next change: it holds nothing but names. Main thread; blocks on the disk.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace marvo::ui {

class RecentProjects {
public:
    static constexpr std::size_t longest = 10;

    // stateFolder: Paths::state; made when it is needed.
    explicit RecentProjects(const std::string& stateFolder);

    // As on the disk now. Files that are gone stay in the list: a drive may come back.
    std::vector<std::string> all() const;
    std::optional<std::string> first() const;
    // To the front; a relative path counts from the present folder. An error text, empty when it is on the
    // disk.
    std::string add(const std::string& path);
    std::string clear();

private:
    std::string write(const std::vector<std::string>& paths) const;

    std::string folder_;
    std::string file_;
};

} // namespace marvo::ui
