// Any bytes as a project: loaded, played, saved, and loaded again.
//
// The first byte chooses. Even: what follows is the file. Odd: what follows changes a project that has a
// track of every type, a few bytes for each change: which key, and what becomes of it.
#pragma once

#include "TrackRecords.h"

#include <cstdint>
#include <limits>

namespace marvo::testing {

class ProjectBytes {
public:
    ProjectBytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool empty() const { return at_ >= size_; }
    std::uint8_t next() { return empty() ? 0 : data_[at_++]; }
    std::uint16_t wide() {
        const std::uint16_t high = next();
        return static_cast<std::uint16_t>(high << 8 | next());
    }
    std::string text(std::size_t longest) {
        std::string result;
        for (std::size_t i = next() % (longest + 1); i > 0 && !empty(); --i)
            result += static_cast<char>(next());
        return result;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

inline PropertyList valueFrom(ProjectBytes& bytes) {
    switch (bytes.next() % 12) {
    case 0:
        return PropertyList(bytes.next() % 2 == 0);
    case 1:
        return PropertyList(static_cast<std::int64_t>(static_cast<std::int16_t>(bytes.wide())));
    case 2:
        return PropertyList(std::numeric_limits<std::int64_t>::min() + bytes.next());
    case 3:
        return PropertyList(std::numeric_limits<std::uint64_t>::max() - bytes.next());
    case 4:
        return PropertyList(static_cast<double>(bytes.wide()) / 100.0 - 100.0);
    case 5:
        return PropertyList(bytes.next() % 2 == 0 ? 1e308 : -1e308);
    case 6:
        return PropertyList(std::numeric_limits<double>::quiet_NaN());
    case 7: {
        const std::string content = bytes.text(40);
        return PropertyList::data(std::as_bytes(std::span(content)));
    }
    case 8:
        return PropertyList::array();
    case 9:
        return PropertyList::dictionary();
    default:
        return PropertyList(bytes.text(40));
    }
}

// The key under the value that the bytes lead to, changed.
inline PropertyList changed(PropertyList value, ProjectBytes& bytes) {
    if (value.entries().empty()) return valueFrom(bytes);
    const std::string key(value.entries()[bytes.wide() % value.entries().size()].key.view());
    const PropertyList inner = *value.find(key);
    if (inner.entries().empty() || bytes.next() % 8 == 0) {
        if (bytes.next() % 5 == 0) {
            value.remove(key);
        } else {
            value.set(key, valueFrom(bytes));
        }
    } else {
        value.set(key, changed(inner, bytes));
    }
    return value;
}

// Why what was saved cannot be loaded; empty when it can, as it must.
inline std::string playAnyProject(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return "";
    static const PropertyList full = fullProject();
    Show show;
    LoadReport report;
    if (data[0] % 2 == 0) {
        const std::string path = show.file("any.mrv");
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
        file.close();
        show.application.openProject(path, &report);
    } else {
        ProjectBytes bytes(data + 1, size - 1);
        PropertyList project = full;
        while (!bytes.empty()) project = changed(project, bytes);
        show.load(project, &report);
    }
    show.playAll();
    show.tick(50);
    const PropertyList saved = show.saved();
    show.stopAll();
    show.tick(2);
    const ProjectResult again = show.load(saved);
    return again.error;
}

} // namespace marvo::testing
