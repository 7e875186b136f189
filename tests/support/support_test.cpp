#include "support/support.h"
#include "test_util.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace {

using Ids = std::vector<intptr_t>;
Ids released;
void record(void *data) {
    released.push_back(reinterpret_cast<intptr_t>(data));
}
void *tag(intptr_t id) {
    return reinterpret_cast<void *>(id);
}

// A window's children are destroyed first node first.
TEST(SupportContainers, ChainReleasesFromTheFront) {
    released.clear();
    Chain *chain = chain_create();
    chain_append(chain, tag(2), record);
    chain_prepend(chain, tag(1), record);
    chain_destroy(chain);
    EXPECT_EQ(released, Ids({1, 2}));
}

// Reference layout: element p lives in bucket p % n; a shift relinks each later
// element, in position order, to the tail of its new bucket.
struct Ref {
    std::vector<Ids> buckets;
    Ids order, released;
    intptr_t take(int p) {
        Ids &b = buckets[p % buckets.size()];
        b.erase(std::find(b.begin(), b.end(), order[p]));
        return order[p];
    }
    void shift(int from, int by) {
        for (int i = from; i < static_cast<int>(order.size()); i++) {
            buckets[(i + by) % buckets.size()].push_back(take(i));
        }
    }
};

TEST(SupportList, MatchesBucketLayoutReleaseOrder) {
    // Sizes beyond a few hundred exercise the chunk splits and merges.
    const int cases[][4] = {{1, 0, 60, 40},   {2, 0, 80, 40},   {3, 5, 120, 40},
                            {25, 0, 300, 30}, {7, 600, 200, 4}, {25, 1100, 250, 3}};
    std::mt19937 random(12345);
    for (const auto &[buckets, start, operations, sequences] : cases) {
        for (int sequence = 0; sequence < sequences; sequence++) {
            SCOPED_TRACE(testing::Message() << buckets << " buckets, sequence " << sequence);
            released.clear();
            List *list = list_create(buckets);
            Ref ref{std::vector<Ids>(buckets), {}, {}};
            for (intptr_t id = 1; id <= start + operations; id++) {
                int count = list_count(list);
                int p = static_cast<int>(random() % (count + 4)) - 1;
                if (id <= start || random() % 10 < 6) {
                    ListElement *e = list_insert(list, id <= start ? count : p, tag(id), record);
                    p = id <= start || p > count ? count : p;
                    ASSERT_EQ(e ? e->position : -1, p) << "insert above count appends";
                    if (p >= 0) {
                        ref.shift(p, 1);
                        ref.order.insert(ref.order.begin() + p, id);
                        ref.buckets[p % buckets].push_back(id);
                    }
                } else {
                    ASSERT_EQ(list_delete(list, p), p >= 0 && p < count ? 0 : -1);
                    if (p >= 0 && p < count) {
                        ref.shift(p + 1, -1);
                        ref.released.push_back(ref.take(p));
                        ref.order.erase(ref.order.begin() + p);
                    }
                }
                ASSERT_EQ(released, ref.released);
            }
            for (int p = 0; p < static_cast<int>(ref.order.size()); p++) {
                ASSERT_EQ(list_element(list, p)->position, p);
                ASSERT_EQ(list_get(list, p), tag(ref.order[p]));
            }
            for (const Ids &bucket : ref.buckets) {
                ref.released.insert(ref.released.end(), bucket.begin(), bucket.end());
            }
            list_destroy(list);
            ASSERT_EQ(released, ref.released);
        }
    }
}

using Strings = std::vector<std::string>;

struct TempDir {
    std::string path = mkdtemp(std::string("/tmp/avsupportXXXXXX").data());
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string file(const std::string &name, const std::string &bytes) const {
        std::ofstream(path + "/" + name, std::ios::binary) << bytes;
        return path + "/" + name;
    }
} const dir;

List *list_of(const Strings &lines) {
    List *list = list_create(25);
    for (const std::string &line : lines) {
        list_add_string(line.c_str(), list, nullptr);
    }
    return list;
}

Strings entries(List *list) {
    Strings out;
    for (int i = 0; i < list_count(list); i++) {
        out.push_back(static_cast<const char *>(list_get(list, i)));
    }
    list_destroy(list);
    return out;
}

TEST(SupportLineFile, ReadPiecesAndOpenFailures) {
    char msg[AV_MSG_MAX];
    const std::string a148(148, 'a'), a149(149, 'b'), a150(150, 'c'), a300(300, 'd');
    const std::vector<std::tuple<std::string, Strings, int>> cases = {
        {"", {}, 0},
        {std::string("a\r\n\nb\0c\nlast", 13), {"a\r", "", "bc", "last"}, 4},
        {a148 + "\n", {a148}, 148},
        {a149 + "\n", {a149, ""}, 149},
        {a149, {a149}, 149},
        {a150 + "\n", {a150.substr(0, 149), "c"}, 149},
        {a300 + "\nz\n", {a300.substr(0, 149), a300.substr(0, 149), "dd", "z"}, 149},
    };
    for (const auto &[bytes, expected, longest] : cases) {
        List *list = list_create(25);
        EXPECT_EQ(read_line_file(dir.file("in", bytes).c_str(), list, "", msg), longest);
        EXPECT_EQ(entries(list), expected) << bytes.substr(0, 20);
    }
    List *list = list_of({"kept"});
    // Not a regular file, or missing; a long path loses its beginning to fit
    // a message box, never the reason.
    const std::string long_path = "/no/" + std::string(999, 'p');
    const std::pair<std::string, std::string> opens[] = {
        {dir.path, "Could not open: " + dir.path + " (Is a directory)"},
        {long_path, "Could not open: ..." + std::string(29, 'p') + " (No such file or directory)"},
        {"/a/long/way/to/the/file/system's/deepest/directory/and/its/file",
         "Could not open: .../directory/and/its/file (No such file or directory)"},
        {"/no/such", "Could not open: /no/such (No such file or directory)"},
    };
    for (const auto &[path, expected] : opens) {
        EXPECT_EQ(read_line_file(path.c_str(), list, "", msg), -1);
        EXPECT_EQ(msg, expected);
    }
    EXPECT_EQ(write_line_file(dir.path.c_str(), list, msg), -1);
    EXPECT_EQ(msg, "Could not open: " + dir.path + " (Is a directory)");
    EXPECT_EQ(entries(list), Strings{"kept"});
}

TEST(SupportLineFile, WriteReplacesWholeOrNotAtAll) {
    std::string path = dir.file("existing", "a much longer old content\nthat must go\n");
    char msg[AV_MSG_MAX];
    List *list = list_of({"a", "", "b c"});
    EXPECT_EQ(write_line_file(path.c_str(), list, msg), 0);
    EXPECT_EQ(file_bytes(path), "a\n\nb c\n");
    EXPECT_EQ(read_line_file(path.c_str(), list, "> ", msg), 3);
    list_insert(list, 1, nullptr, nullptr);
    EXPECT_EQ(write_line_file(path.c_str(), list, msg), -1);
    EXPECT_STREQ(msg, "Error retrieving data from list!");
    EXPECT_EQ(file_bytes(path), "a\n\nb c\n") << "a failed write leaves the old file";
    list_delete(list, 1);
    EXPECT_EQ(entries(list), (Strings{"a", "", "b c", "> a", "> ", "> b c"})) << "appended";
    list = list_create(25);
    EXPECT_EQ(write_line_file(path.c_str(), list, msg), 0);
    EXPECT_EQ(file_bytes(path), "");
    list_destroy(list);
    const Strings overlong = {"b", std::string(256, 'x'), "a"};
    list = list_of(overlong);
    EXPECT_EQ(sort_string_list(list, msg), -1);
    EXPECT_STREQ(msg, "Error adding to sorted list!");
    EXPECT_EQ(entries(list), overlong) << "a refused sort leaves the list alone";
}

TEST(SupportReplace, KilledSaveLeavesOldOrNewWhole) {
    std::string path = dir.path + "/big";
    Strings old_lines, new_lines;
    for (int i = 0; i < 100000; i++) {
        old_lines.push_back("old line " + std::to_string(i));
        new_lines.push_back("the new line " + std::to_string(i));
    }
    List *old_list = list_of(old_lines), *new_list = list_of(new_lines);
    char msg[AV_MSG_MAX];
    ASSERT_EQ(write_line_file(path.c_str(), new_list, msg), 0) << msg;
    const std::string new_bytes = file_bytes(path);
    ASSERT_EQ(write_line_file(path.c_str(), old_list, msg), 0);
    const std::string old_bytes = file_bytes(path);
    // Time one save, then kill saves at random points within it.
    auto save = [&]() {
        pid_t pid = fork();
        if (pid == 0) {
            signal(SIGTERM, [](int) {
                replace_cleanup();
                _exit(3);
            });
            _exit(write_line_file(path.c_str(), new_list, msg) == 0 ? 0 : 1);
        }
        return pid;
    };
    auto start = std::chrono::steady_clock::now();
    int status = 0;
    waitpid(save(), &status, 0);
    long took = (std::chrono::steady_clock::now() - start) / std::chrono::microseconds(1);
    std::mt19937 random(4711);
    int kinds[2] = {0, 0}; // old, new
    for (int round = 0; round < 12; round++) {
        int signal_number = round % 2 ? SIGKILL : SIGTERM;
        ASSERT_EQ(write_line_file(path.c_str(), old_list, msg), 0);
        pid_t pid = save();
        usleep(static_cast<useconds_t>(random() % (took + 1)));
        kill(pid, signal_number);
        waitpid(pid, &status, 0);
        std::string bytes = file_bytes(path);
        ASSERT_TRUE(bytes == old_bytes || bytes == new_bytes) << "round " << round;
        kinds[bytes == new_bytes]++;
        EXPECT_TRUE(files_starting(dir.path, ".big").empty() || signal_number == SIGKILL);
        replace_remove_stale(dir.path.c_str()); // what a SIGKILL leaves
        EXPECT_EQ(files_starting(dir.path, ".big"), Strings{}) << "round " << round;
    }
    EXPECT_GT(kinds[0], 0) << "no save was cut short";
    dir.file(".big.avconfig-Zz09aB", "");
    dir.file(".big.backup", "");
    replace_remove_stale(dir.path.c_str());
    EXPECT_EQ(files_starting(dir.path, ".big"), Strings{".big.backup"}) << "not of our making";
    list_destroy(old_list);
    list_destroy(new_list);
}

TEST(SupportLineFile, SortFindAndTrim) {
    List *list = list_of({"bob", "Ann", "ann", "Cy", ""});
    char msg[AV_MSG_MAX];
    EXPECT_EQ(sort_string_list(list, msg), 0);
    const std::tuple<const char *, int, int> finds[] = {
        {"Ann", LIST_EXACT, 2}, {"ann", LIST_EXACT, 1}, {"An", LIST_EXACT, -1},
        {"An", LIST_PREFIX, 2}, {"b", LIST_PREFIX, 3},  {"BOB", LIST_PREFIX, -1}};
    for (auto [text, mode, expected] : finds) {
        EXPECT_EQ(list_find_string(text, mode, list), expected) << text << mode;
    }
    EXPECT_EQ(entries(list), (Strings{"", "ann", "Ann", "bob", "Cy"}));
    const char *trims[][4] = {{"  x y \t\n", "x y \t\n", "  x y", "x y"},
                              {"\nx ", "\nx ", "\nx", "\nx"}, // a leading newline stays
                              {"\t\t", "", "", ""}};
    for (auto &t : trims) {
        std::string a = t[0], b = t[0], c = t[0];
        trim_leading(a.data());
        trim_trailing(b.data());
        trim_blanks(c.data());
        EXPECT_EQ(Strings({a.c_str(), b.c_str(), c.c_str()}), Strings({t[1], t[2], t[3]})) << t[0];
    }
}

constexpr unsigned OTHER_UID = 4242, OTHER_GID = 4343, PROGRAM_GID = 0x0a0b0c0d;

// A file the shell would mangle, owned by someone else, and a status program that logs
// its argument and prints `bytes` bytes of a record whose group (offset 28) is PROGRAM_GID.
const std::string target = dir.path + "/it's a $(touch av-injected) `touch av-injected` file";
const std::string stat_template = dir.path + "/tmp/statXXXXXX";

void prepare(int bytes, int exit_code) {
    std::filesystem::create_directories(dir.path + "/tmp");
    file_status_template = stat_template.c_str();
    const std::string script = "#!/bin/sh\nprintf %s \"$1\" >" + dir.path +
                               "/arg\nprintf '%28s\\15\\14\\13\\12%56s' | head -c " +
                               std::to_string(bytes) + "\nexit " + std::to_string(exit_code);
    setenv("QXSTATPROG", dir.file("prog", script).c_str(), 1);
    chmod((dir.path + "/prog").c_str(), 0755);
    std::ofstream(target) << "data\n";
    EXPECT_EQ(chown(target.c_str(), OTHER_UID, OTHER_GID), 0);
}

TEST(SupportOwnership, UnsetStatusProgramRunsNothingAndKeepsGroup) {
    prepare(88, 0);
    unsetenv("QXSTATPROG");
    FILE *f = open_with_owner(target.c_str(), "w", "root", nullptr, 0666);
    ASSERT_NE(f, nullptr);
    fclose(f);
    struct stat st;
    ASSERT_EQ(stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 0u);
    EXPECT_EQ(st.st_gid, OTHER_GID);
    EXPECT_EQ(st.st_mode & 07777, 0666u) << "mode set although the file existed";
    EXPECT_FALSE(std::filesystem::exists(dir.path + "/arg")) << "a status program ran";
}

TEST(SupportOwnership, StatusProgramGivesGroupOrFallsBackToRealGroup) {
    const int cases[][2] = {{88, 0}, {88, 3}, {0, 0}, {87, 0}};
    for (auto [bytes, exit_code] : cases) {
        prepare(bytes, exit_code);
        EXPECT_EQ(set_owner_by_name(target.c_str(), "root", nullptr), 0);
        struct stat st;
        ASSERT_EQ(stat(target.c_str(), &st), 0);
        EXPECT_EQ(st.st_uid, 0u);
        EXPECT_EQ(st.st_gid, bytes == 88 && exit_code == 0 ? PROGRAM_GID : getgid());
        EXPECT_EQ(file_bytes(dir.path + "/arg"), target) << "the path reached the program intact";
        EXPECT_TRUE(std::filesystem::is_empty(dir.path + "/tmp")) << "temporary file left behind";
    }
    EXPECT_FALSE(std::filesystem::exists("av-injected")) << "the shell ran the path";
}

// While the program runs there is no name in the temporary directory that
// another user could swap for a link: its output goes to a descriptor that
// is never reopened by name.
TEST(SupportOwnership, StatusProgramWritesToTheDescriptorNotToAName) {
    prepare(88, 0);
    const std::string script = "#!/bin/sh\nls -A " + dir.path + "/tmp > " + dir.path +
                               "/seen\nout=$(readlink /proc/$$/fd/1)\necho \"$out\" > " + dir.path +
                               "/stdout\nprintf '%28s\\15\\14\\13\\12%56s'\n";
    dir.file("prog", script);
    struct stat st;
    ASSERT_EQ(file_status(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_gid, PROGRAM_GID);
    EXPECT_EQ(file_bytes(dir.path + "/seen"), "");
    std::string out = file_bytes(dir.path + "/stdout");
    EXPECT_TRUE(out.starts_with(dir.path + "/tmp/stat") && out.ends_with(" (deleted)\n")) << out;
    EXPECT_TRUE(std::filesystem::is_empty(dir.path + "/tmp"));
}

} // namespace
