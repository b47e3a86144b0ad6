// The compiled template against the slow reading of the same rules, on generated templates and on the corpus.
#include "OSCTemplateOracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using marvo::testing::TemplateCase;

namespace {

class TemplateWriter {
public:
    explicit TemplateWriter(std::uint64_t seed) : random_(seed) {}

    std::string text(std::size_t mostPieces) {
        std::string result;
        for (std::size_t left = below(mostPieces + 1); left > 0; --left) result += piece();
        return result;
    }

    TemplateCase next() {
        TemplateCase result;
        result.address = text(12);
        if (below(4) != 0) result.address.insert(0, "/a/b ");
        result.composition = text(3);
        result.track = text(2);
        result.input = {value(),
                        below(3) == 0 ? 100000.0F : 100.0F,
                        static_cast<int>(below(4)),
                        frame(),
                        static_cast<std::int64_t>(below(20) == 0 ? 0 : 1 + below(120)),
                        static_cast<int>(below(4))};
        return result;
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    std::string_view piece() {
        static constexpr std::array<std::string_view, 48> pieces = {"$",
                                                                    "<",
                                                                    ">",
                                                                    "<$>",
                                                                    "<$F>",
                                                                    "<$S>",
                                                                    "< $ >",
                                                                    "$F>",
                                                                    "$S>",
                                                                    "$COMPINDEX",
                                                                    "$COMP",
                                                                    "$TRACK",
                                                                    "<$F> ",
                                                                    "<\"a b\">",
                                                                    "\"",
                                                                    "<1.5>",
                                                                    "<7>",
                                                                    "< -3 >",
                                                                    " ",
                                                                    "\t",
                                                                    "\n",
                                                                    "\r",
                                                                    "/x",
                                                                    "/",
                                                                    "#",
                                                                    "1",
                                                                    ".",
                                                                    "-",
                                                                    "+",
                                                                    "e",
                                                                    "E5",
                                                                    "x",
                                                                    "F",
                                                                    "S",
                                                                    "INDEX",
                                                                    "TRACK",
                                                                    "C",
                                                                    "\xC3\xA9",
                                                                    "\xE2\x82\xAC",
                                                                    "\xF0\x9F\x8E\xB5",
                                                                    "\xA9",
                                                                    "\xF0",
                                                                    "0",
                                                                    "<<",
                                                                    ">>",
                                                                    "99999999999",
                                                                    "inf",
                                                                    "<\"$\">"};
        return pieces[below(pieces.size())];
    }

    float value() {
        switch (below(8)) {
        case 0:
            return std::numeric_limits<float>::infinity();
        case 1:
            return std::numeric_limits<float>::quiet_NaN();
        case 2:
            return std::bit_cast<float>(static_cast<std::uint32_t>(random_()));
        case 3:
            return static_cast<float>(below(512)) - 0.5F;
        default:
            return static_cast<float>(below(20000)) / 100.0F - 50.0F;
        }
    }

    std::int64_t frame() {
        if (below(10) == 0) return static_cast<std::int64_t>(random_());
        return static_cast<std::int64_t>(below(1'000'000));
    }

    std::mt19937_64 random_;
};

} // namespace

TEST(OSCTemplateOracle, AgreesWithTheCompiledFormOnGeneratedTemplates) {
    TemplateWriter writer(20240611);
    for (int round = 0; round < 200'000; ++round) {
        const TemplateCase made = writer.next();
        ASSERT_EQ(made.compiled(), made.expected())
            << "round " << round << "\naddress: " << made.address << "\ncomposition: " << made.composition
            << "\ntrack: " << made.track << "\nvalue: " << made.input.value;
    }
}

TEST(OSCTemplateOracle, AgreesWithTheCompiledFormOnTheCorpus) {
    std::size_t files = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(MARVO_CORPUS) / "template")) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const auto made =
            TemplateCase::fromBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        EXPECT_EQ(made.compiled(), made.expected()) << entry.path().filename();
        ++files;
    }
    EXPECT_GE(files, 15U);
}
