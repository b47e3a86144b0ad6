// The user's settings of this machine: typed values by key, in one property list file.
//
// Owned by the application, used on the main thread alone; whoever needs a setting elsewhere is told its
// value. Not realtime-safe. Changes stay in memory until synchronise(). Nothing that was found on disk is
// ever thrown away: a file that cannot be understood is put aside, and while it cannot even be put aside
// nothing is written.
#pragma once

#include "platform/AtomicFile.h"
#include "platform/PropertyList.h"

#include <string>
#include <string_view>

namespace marvo {

class PreferenceStore {
public:
    // Keeps everything in memory; synchronising does nothing.
    PreferenceStore() = default;
    // Reads the file (see Paths::preferenceFile); one that is missing is an empty store.
    explicit PreferenceStore(std::string path);

    // What was wrong with the file when it was read, in one line; empty when nothing was. A file that could
    // not be used is now called "<name>.broken" (or, when that is taken, "<name>.broken-2" and so on).
    const std::string& warning() const { return warning_; }

    bool has(std::string_view key) const { return find(key) != nullptr; }
    // Null when the key is absent. Valid until the store is changed.
    const PropertyList* find(std::string_view key) const;
    // Kind::none when the key is absent.
    PropertyList get(std::string_view key) const;

    // Setting an absent value (Kind::none) removes the key. Under an override the change is kept, and
    // written, but get() goes on giving the override.
    void set(std::string_view key, PropertyList value);
    void remove(std::string_view key);

    // For this run: read before everything else, never written.
    void setOverride(std::string_view key, PropertyList value);
    bool isOverridden(std::string_view key) const { return overrides_.find(key) != nullptr; }

    // Everything stored, without the overrides.
    const PropertyList& all() const { return stored_; }

    // Writes what has changed, making the folder where needed. An error in one line, empty when the file
    // holds what the store holds; after an error the changes stay, and the next call tries again.
    [[nodiscard]] std::string synchronise();
    [[nodiscard]] std::string synchronise(FileSteps& steps);

private:
    void putAside(const std::string& why);

    std::string path_; // empty: in memory alone
    std::string warning_;
    PropertyList stored_ = PropertyList::dictionary();
    PropertyList overrides_ = PropertyList::dictionary();
    bool changed_ = false;
    bool blocked_ = false; // writing would destroy a file that could not be put aside
};

} // namespace marvo
