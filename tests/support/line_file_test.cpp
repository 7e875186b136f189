#include "support/support.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct TempDir {
    std::string path;
    TempDir() {
        char name[] = "/tmp/avsupportXXXXXX";
        path = mkdtemp(name);
    }
    ~TempDir() { [[maybe_unused]] int rc = system(("rm -rf '" + path + "'").c_str()); }
    std::string file(const std::string &name, const std::string &bytes) const {
        std::string p = path + "/" + name;
        std::ofstream(p, std::ios::binary) << bytes;
        return p;
    }
};

std::vector<std::string> entries(List *list) {
    std::vector<std::string> out;
    for (int i = 0; i < list_count(list); i++) {
        out.push_back(static_cast<const char *>(list_get(list, i)));
    }
    return out;
}

List *list_of(const std::vector<std::string> &lines) {
    List *list = list_create(25);
    for (const std::string &line : lines) {
        list_add_string(line.c_str(), list, nullptr);
    }
    return list;
}

std::string slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(SupportLineFile, ReadPieces) {
    const std::string a148(148, 'a'), a149(149, 'b'), a150(150, 'c'), a300(300, 'd');
    struct Case {
        const char *name;
        std::string bytes;
        std::vector<std::string> expected;
        int longest;
    };
    const Case cases[] = {
        {"empty", "", {}, 0},
        {"two lines", "one\ntwo\n", {"one", "two"}, 3},
        {"no final newline", "one\ntwo", {"one", "two"}, 3},
        {"empty lines", "\n\nx\n", {"", "", "x"}, 1},
        {"carriage return stays", "a\r\nb\n", {"a\r", "b"}, 2},
        {"nul bytes dropped", std::string("a\0b\nc\n", 6), {"ab", "c"}, 2},
        {"148", a148 + "\n", {a148}, 148},
        {"149", a149 + "\n", {a149, ""}, 149},
        {"149 at end", a149, {a149}, 149},
        {"150", a150 + "\n", {a150.substr(0, 149), "c"}, 149},
        {"300", a300 + "\nz\n", {a300.substr(0, 149), a300.substr(0, 149), "dd", "z"}, 149},
        {"298",
         std::string(298, 'e') + "\n",
         {std::string(149, 'e'), std::string(149, 'e'), ""},
         149},
    };
    TempDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = dir.file("in", c.bytes);
        List *list = list_of({"kept"});
        char msg[AV_MSG_MAX] = "untouched";
        EXPECT_EQ(read_line_file(path.c_str(), list, "", msg), c.longest);
        std::vector<std::string> expected = {"kept"};
        expected.insert(expected.end(), c.expected.begin(), c.expected.end());
        EXPECT_EQ(entries(list), expected);
        EXPECT_STREQ(msg, "untouched");
        list_destroy(list);
    }
}

TEST(SupportLineFile, ReadPrefix) {
    TempDir dir;
    std::string path = dir.file("in", "x\ny\n");
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    EXPECT_EQ(read_line_file(path.c_str(), list, "> ", msg), 1);
    EXPECT_EQ(entries(list), std::vector<std::string>({"> x", "> y"}));
    list_destroy(list);
}

TEST(SupportLineFile, OpenFailures) {
    TempDir dir;
    // Long enough that the message must be cut to its buffer.
    const std::string long_path = "/nonexistent/" + std::string(1000, 'p');
    const std::vector<std::string> paths = {dir.path + "/missing", dir.path, long_path};
    for (const std::string &path : paths) {
        SCOPED_TRACE(path.substr(0, 40));
        const std::string expected = ("Could not open: " + path).substr(0, AV_MSG_MAX - 1);
        List *list = list_of({"kept"});
        char msg[AV_MSG_MAX];
        EXPECT_EQ(read_line_file(path.c_str(), list, "", msg), -1);
        EXPECT_EQ(std::string(msg), expected);
        EXPECT_EQ(entries(list), std::vector<std::string>({"kept"}));
        if (path != dir.path + "/missing") { // a missing file is simply created
            EXPECT_EQ(write_line_file(path.c_str(), list, msg), -1);
            EXPECT_EQ(std::string(msg), expected);
        }
        list_destroy(list);
    }
}

TEST(SupportLineFile, WriteRewritesInPlace) {
    TempDir dir;
    struct Case {
        std::vector<std::string> lines;
        std::string bytes;
    };
    const Case cases[] = {{{}, ""}, {{"a", "", "b c"}, "a\n\nb c\n"}, {{"x"}, "x\n"}};
    std::string existing = dir.file("existing", "a much longer old content\nthat must go\n");
    chmod(existing.c_str(), 0640);
    for (const Case &c : cases) {
        List *list = list_of(c.lines);
        char msg[AV_MSG_MAX];
        std::string fresh = dir.path + "/fresh";
        unlink(fresh.c_str());
        EXPECT_EQ(write_line_file(fresh.c_str(), list, msg), 0);
        EXPECT_EQ(slurp(fresh), c.bytes);
        EXPECT_EQ(write_line_file(existing.c_str(), list, msg), 0);
        EXPECT_EQ(slurp(existing), c.bytes);
        struct stat st;
        stat(existing.c_str(), &st);
        EXPECT_EQ(st.st_mode & 07777, 0640u);
        list_destroy(list);
    }
}

TEST(SupportLineFile, WriteStopsAtMissingEntry) {
    TempDir dir;
    List *list = list_of({"a"});
    list_append(list, nullptr, nullptr);
    list_add_string("b", list, nullptr);
    std::string path = dir.path + "/out";
    char msg[AV_MSG_MAX];
    EXPECT_EQ(write_line_file(path.c_str(), list, msg), -1);
    EXPECT_STREQ(msg, "Error retrieving data from list!");
    EXPECT_EQ(slurp(path), "a\n");
    EXPECT_EQ(sort_string_list(list, msg), -1);
    EXPECT_STREQ(msg, "Error retrieving data from list!");
    EXPECT_EQ(list_count(list), 3);
    list_destroy(list);
}

TEST(SupportLineFile, FindString) {
    List *list = list_of({"ann", "Ann", "bob", "Cy", ""});
    struct Case {
        const char *text;
        int mode;
        int expected;
    };
    const Case cases[] = {{"Ann", 1, 1}, {"ann", 1, 0}, {"An", 1, -1},  {"An", 0, 1},  {"", 0, 0},
                          {"", 1, 4},    {"b", 0, 2},   {"BOB", 0, -1}, {"Cyx", 0, -1}};
    for (const Case &c : cases) {
        EXPECT_EQ(list_find_string(c.text, c.mode, list), c.expected) << c.text << c.mode;
    }
    list_destroy(list);
    List *empty = list_create(25);
    EXPECT_EQ(list_find_string("", 0, empty), -1);
    list_destroy(empty);
}

TEST(SupportLineFile, Sort) {
    struct Case {
        std::vector<std::string> in;
        std::vector<std::string> out;
    };
    const Case cases[] = {
        {{"bob", "Ann", "ann", "Cy"}, {"ann", "Ann", "bob", "Cy"}},
        {{}, {}},
        {{"only"}, {"only"}},
        {{"b", "a", "B", "A", "a"}, {"A", "a", "a", "B", "b"}},
        {{"zeta", "", "Alpha", "alpha2"}, {"", "Alpha", "alpha2", "zeta"}},
        {{std::string(255, 'z'), "y"}, {"y", std::string(255, 'z')}},
    };
    for (const Case &c : cases) {
        List *list = list_of(c.in);
        char msg[AV_MSG_MAX] = "untouched";
        EXPECT_EQ(sort_string_list(list, msg), 0);
        EXPECT_EQ(entries(list), c.out);
        EXPECT_STREQ(msg, "untouched");
        list_destroy(list);
    }
}

TEST(SupportLineFile, SortRefusesOverlongEntry) {
    const std::vector<std::string> in = {"b", std::string(256, 'x'), "a"};
    List *list = list_of(in);
    char msg[AV_MSG_MAX];
    EXPECT_EQ(sort_string_list(list, msg), -1);
    EXPECT_STREQ(msg, "Error adding to sorted list!");
    EXPECT_EQ(entries(list), in);
    list_destroy(list);
}

TEST(SupportLineFile, SortLargeRandomFileMatchesReference) {
    TempDir dir;
    std::string bytes;
    std::vector<std::string> lines;
    unsigned seed = 7;
    for (int i = 0; i < 3000; i++) {
        seed = seed * 1103515245 + 12345;
        std::string line = "pc" + std::to_string(seed % 1000) + ((seed >> 8) % 2 ? "A" : "a");
        lines.push_back(line);
        bytes += line + "\n";
    }
    std::string path = dir.file("big", bytes);
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    ASSERT_GE(read_line_file(path.c_str(), list, "", msg), 0);
    ASSERT_EQ(sort_string_list(list, msg), 0);
    std::vector<std::string> got = entries(list);
    ASSERT_EQ(got.size(), lines.size());
    for (size_t i = 1; i < got.size(); i++) {
        ASSERT_LE(str_casecmp(got[i - 1].c_str(), got[i].c_str()), 0) << i;
    }
    std::sort(lines.begin(), lines.end());
    std::vector<std::string> sorted_got = got;
    std::sort(sorted_got.begin(), sorted_got.end());
    EXPECT_EQ(sorted_got, lines); // nothing lost or duplicated
    list_destroy(list);
}

} // namespace
