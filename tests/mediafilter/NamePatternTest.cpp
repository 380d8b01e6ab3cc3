#include "mediafilter/NamePattern.h"

#include "mediafilter/MediaClasses.h"
#include "mediafilter/NameIndex.h"
#include "mediafilter/VTContainerValidator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <memory>
#include <random>
#include <regex.h>
#include <string>
#include <vector>

namespace vt {
namespace {

// The system's expression engine, without anything of ours around it.
class Engine {
  public:
    explicit Engine(const std::string& pattern) {
        EXPECT_EQ(regcomp(&_expression, pattern.c_str(), REG_EXTENDED | REG_ICASE), 0) << pattern;
    }
    ~Engine() { regfree(&_expression); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    [[nodiscard]] bool matches(const std::string& name) const {
        return regexec(&_expression, name.c_str(), 0, nullptr, 0) == 0;
    }

  private:
    regex_t _expression{};
};

std::vector<ContainerValidatorList> wholeLists() {
    std::vector<ContainerValidatorList> lists;
    for (std::int32_t value = 0; value < 8; ++value) {
        ContainerValidatorList all;
        for (const MediaKind kind : {MediaKind::movies, MediaKind::music, MediaKind::pictures, MediaKind::documents}) {
            const auto& list = mediaList(static_cast<VTMediaClass>(value), kind);
            all.insert(all.end(), list.begin(), list.end());
        }
        lists.push_back(all);
    }
    return lists;
}

// Names around the extensions of the lists: several dots, any case, any byte but NUL, new lines, empty.
class Names {
  public:
    [[nodiscard]] std::string next() {
        static const char* const words[] = {"mp4",
                                            "M4V",
                                            "mov",
                                            "3g2",
                                            "3G2x",
                                            "3gp2",
                                            "3gp",
                                            "azw",
                                            "azw3",
                                            "azw0",
                                            "AZW9",
                                            "azw33",
                                            "ts",
                                            "mts",
                                            "m2ts",
                                            "wm",
                                            "wmv",
                                            "photolibrary",
                                            "PhotoLibrary",
                                            "photo",
                                            "library",
                                            "jpeg",
                                            "jpg",
                                            "key",
                                            "x",
                                            "",
                                            "doc",
                                            "docx",
                                            "docxx",
                                            "tiff",
                                            "tIf",
                                            "\n",
                                            "\xC3\xA9",
                                            "\xFF",
                                            " ",
                                            "$",
                                            "pages",
                                            "movie",
                                            "verylongextensionthatnothinghas",
                                            "m4",
                                            "p",
                                            "\xC4\xB0",
                                            "\r\n",
                                            "\\",
                                            "*",
                                            "[1-9]?"};
        std::string name;
        for (std::size_t part = pick(5); part > 0; --part) {
            if (pick(2) == 0) name += '.';
            if (pick(8) == 0) {
                name += static_cast<char>(1 + pick(255));
            } else {
                std::string word = words[pick(std::size(words))];
                if (pick(3) == 0)
                    for (char& byte : word)
                        if (pick(2) == 0 && byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 'a' + 'A');
                name += word;
            }
        }
        return name;
    }

  private:
    std::size_t pick(std::size_t below) { return _random() % below; }
    std::mt19937 _random{20130521};
};

TEST(NamePattern, agreesWithTheEngineOnEveryPatternOfEveryList) {
    std::vector<std::pair<const VTContainerValidator*, std::unique_ptr<Engine>>> pairs;
    for (const auto& list : wholeLists())
        for (const VTContainerValidator* validator : list)
            if (std::none_of(pairs.begin(), pairs.end(), [validator](const auto& pair) {
                    return pair.first->patternText() == validator->patternText();
                }))
                pairs.emplace_back(validator, std::make_unique<Engine>(validator->patternText()));
    Names names;
    for (int i = 0; i < 4000; ++i) {
        const std::string name = names.next();
        for (const auto& [validator, engine] : pairs) {
            ASSERT_EQ(validator->pattern().matches(name), engine->matches(name))
                << validator->patternText() << " on " << testing::PrintToString(name);
            ASSERT_EQ(validator->pattern().matchesByEngine(name), engine->matches(name)) << validator->patternText();
        }
    }
}

TEST(NameIndex, namesEveryValidatorThatMatchesInOrder) {
    for (const auto& list : wholeLists()) {
        const NameIndex index(list);
        Names names;
        for (int i = 0; i < 4000; ++i) {
            const std::string name = names.next();
            std::vector<std::uint32_t> matching;
            for (const std::uint32_t position : index.candidates(name))
                if (list[position]->pattern().matches(name)) matching.push_back(position);
            std::vector<std::uint32_t> expected;
            for (std::uint32_t position = 0; position < list.size(); ++position)
                if (list[position]->pattern().matches(name)) expected.push_back(position);
            ASSERT_EQ(matching, expected) << testing::PrintToString(name);
        }
    }
}

struct MatchRow {
    const char* title;
    const char* pattern;
    std::string name;
    bool matches;
};

TEST(NamePattern, matchesByBytesAndIgnoresAsciiCase) {
    const MatchRow rows[] = {
        {"any case", R"(.*\.mp4$)", "Movie.MP4", true},
        {"nothing before the dot", R"(.*\.mp4$)", ".mp4", true},
        {"no dot", R"(.*\.mp4$)", "mp4", false},
        {"empty", R"(.*\.mp4$)", "", false},
        {"another end", R"(.*\.mp4$)", "a.mp4.part", false},
        {"new line before", R"(.*\.mp4$)", "a\nb.mp4", true},
        {"new line after", R"(.*\.mp4$)", "a.mp4\n", false},
        {"bytes that are no text", R"(.*\.mp4$)", "\xFF\xFE.mp4", true},
        {"no anchor at the end", R"(.*\.3g2)", "clip.3g2x", true},
        {"a dot is needed", R"(.*\.3g2)", "clip3g2", false},
        {"optional digit absent", R"(.*\.azw[1-9]?$)", "book.azw", true},
        {"optional digit", R"(.*\.azw[1-9]?$)", "book.AZW3", true},
        {"no such digit", R"(.*\.azw[1-9]?$)", "book.azw0", false},
        {"word after any character", ".photolibrary", "Library.photolibrary", true},
        {"word inside", ".photolibrary", "MyPhotoLibrary2", true},
        {"word at the start", ".photolibrary", "photolibrary", false},
        {"word after a new line", ".photolibrary", "\nphotolibrary", true},
        {"everything", ".*", "", true},
        {"case of other bytes counts", "\xC3\xA9$", "\xC3\x89", false},
        {"alternatives", "a|b", "xbx", true},
        {"groups", "(ab)+c", "ABABC", true},
        {"repetition of a byte that may be absent", "ab*c", "ac", true},
        {"bound", "ab{2}c", "abbc", true},
    };
    for (const MatchRow& row : rows)
        EXPECT_EQ(NamePattern(row.pattern, true).matches(row.name), row.matches) << row.title;
}

TEST(NamePattern, countsCaseWhereItIsAskedTo) {
    const NamePattern pattern(R"(.*\.mp4$)", false);
    EXPECT_TRUE(pattern.matches("a.mp4"));
    EXPECT_FALSE(pattern.matches("a.MP4"));
}

TEST(NamePattern, thatDoesNotCompileMatchesNothing) {
    const NamePattern broken("(", true);
    EXPECT_NE(broken.compileResult(), 0);
    EXPECT_FALSE(broken.matches("("));
    EXPECT_EQ(NamePattern().compileResult(), -1);
    EXPECT_FALSE(NamePattern().matches(""));
}

TEST(NamePattern, longNamesOfAnyLengthAreDecided) {
    const std::string longName(100'000, 'a');
    EXPECT_TRUE(NamePattern(R"(.*\.azw[1-9]?$)", true).matches(longName + ".azw"));
    EXPECT_FALSE(NamePattern(R"(.*\.azw[1-9]?$)", true).matches(longName + ".azw.b"));
}

TEST(NamePattern, keepsToAsciiInEveryLocale) {
    const NamePattern pattern("x[i]$", true);
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"tr_TR.UTF-8", "tr_TR.ISO-8859-9", "C.UTF-8", "de_DE.ISO-8859-1"}) {
        if (std::setlocale(LC_ALL, locale) == nullptr) continue; // not installed: nothing to disturb the answer
        EXPECT_TRUE(pattern.matches("XI")) << locale;
        EXPECT_TRUE(pattern.matches("xi")) << locale;
        EXPECT_FALSE(pattern.matches("x\xDD")) << locale;
    }
    std::setlocale(LC_ALL, before.c_str());
}

} // namespace
} // namespace vt
