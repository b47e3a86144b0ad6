// Every key of every record of a project, once with each value that it was not made for.
#include "TrackRecords.h"

#include <functional>
#include <gtest/gtest.h>

using namespace marvo;
using namespace marvo::testing;

namespace {

using Path = std::vector<std::string>;

PropertyList with(PropertyList value, std::span<const std::string> path, const PropertyList* leaf) {
    if (path.size() == 1) {
        if (leaf) {
            value.set(path[0], *leaf);
        } else {
            value.remove(path[0]);
        }
        return value;
    }
    const PropertyList* const inner = value.find(path[0]);
    const PropertyList changed = with(*inner, path.subspan(1), leaf);
    value.set(path[0], changed);
    return value;
}

// The paths of all keys, those of arrays' elements left out: an array is taken as one value.
std::vector<Path> pathsOf(const PropertyList& value) {
    std::vector<Path> paths;
    const std::function<void(const PropertyList&, const Path&)> collect = [&](const PropertyList& here,
                                                                              const Path& path) {
        for (const auto& [key, inner] : here.entries()) {
            Path longer = path;
            longer.emplace_back(key.view());
            paths.push_back(longer);
            collect(inner, longer);
        }
    };
    collect(value, {});
    return paths;
}

struct Wrong {
    const char* name;
    std::function<PropertyList()> make; // null: the key is missing
};

std::ostream& operator<<(std::ostream& out, const Wrong& wrong) {
    return out << wrong.name;
}

PropertyList listWith(const PropertyList& one) {
    PropertyList list = PropertyList::array();
    list.push_back(one);
    return list;
}

PropertyList dictionaryWith(const std::string& key, const PropertyList& one) {
    PropertyList dictionary = PropertyList::dictionary();
    dictionary.set(key, one);
    return dictionary;
}

PropertyList goodProject() {
    PropertyList project = projectOf({fullComposition("One")}, "Out");
    // An empty table would leave the one of the project before.
    PropertyList filter = listWith(PropertyList(false));
    filter.push_back(true);
    PropertyList appData = *project.find("appData");
    appData.set("midiFilters", dictionaryWith("Ch:1 CC7", filter));
    project.set("appData", appData);
    return Show(project).saved();
}

class ProjectSweep : public ::testing::TestWithParam<Wrong> {};

} // namespace

TEST_P(ProjectSweep, AProjectWithOneWrongValueLoadsAndPlaysOrIsRefused) {
    const PropertyList good = goodProject();
    const std::vector<Path> paths = pathsOf(good);
    ASSERT_GT(paths.size(), 200u);
    const PropertyList wrong = GetParam().make ? GetParam().make() : PropertyList();
    Show show;
    std::size_t loaded = 0;
    for (const Path& path : paths) {
        LoadReport report;
        const PropertyList project = with(good, path, GetParam().make ? &wrong : nullptr);
        const ProjectResult result = show.load(project, &report);
        if (result.done) {
            ++loaded;
        } else {
            EXPECT_FALSE(result.error.empty()) << path.back();
        }
        show.playAll();
        show.tick(2);
        show.stopAll();
        show.take();
        show.sentMIDI.clear();
        show.storedDMX.clear();
    }
    EXPECT_GT(loaded, paths.size() / 2);
    const ProjectResult result = show.load(good);
    ASSERT_TRUE(result.done);
    EXPECT_EQ(differences(show.saved(), good), "") << "nothing of all that stays behind";
}

INSTANTIATE_TEST_SUITE_P(
    Values, ProjectSweep,
    ::testing::Values(
        Wrong{"missing", nullptr}, Wrong{"a truth", [] { return PropertyList(true); }},
        Wrong{"the lowest integer", [] { return PropertyList(std::numeric_limits<std::int64_t>::min()); }},
        Wrong{"the highest integer", [] { return PropertyList(std::numeric_limits<std::int64_t>::max()); }},
        Wrong{"minus one", [] { return PropertyList(std::int64_t{-1}); }},
        Wrong{"a huge real", [] { return PropertyList(1e308); }},
        Wrong{"not a number", [] { return PropertyList(std::numeric_limits<double>::quiet_NaN()); }},
        Wrong{"a text", [] { return PropertyList("text <$> \\ \" # / 1-"); }},
        Wrong{"a long text", [] { return PropertyList(std::string(70'000, '9')); }},
        Wrong{"data", [] { return PropertyList::data(std::as_bytes(std::span("bplist00 not"))); }},
        Wrong{"a date", [] { return PropertyList::date(1e300); }},
        Wrong{"an empty list", [] { return PropertyList::array(); }},
        Wrong{"a list", [] { return listWith(PropertyList(std::int64_t{3})); }},
        Wrong{"an empty dictionary", [] { return PropertyList::dictionary(); }},
        Wrong{"a dictionary of texts", [] { return dictionaryWith("0", PropertyList("x")); }},
        Wrong{"a dictionary of dictionaries",
              [] { return dictionaryWith("tr-0", dictionaryWith("time", PropertyList("x"))); }}),
    [](const auto& wrong) {
        std::string name = wrong.param.name;
        for (char& c : name) {
            if (c == ' ') c = '_';
        }
        return name;
    });
