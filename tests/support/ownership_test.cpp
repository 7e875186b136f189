#include "support/support.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t OTHER_UID = 4242;
constexpr gid_t OTHER_GID = 4343;

struct Sandbox {
    std::string dir;
    std::string file;
    std::string temp_dir; // where the status query makes its temporary files
    std::string template_path;
    Sandbox() {
        char name[] = "/tmp/avownXXXXXX";
        dir = mkdtemp(name);
        // Quotes and command substitutions must reach the program as text.
        file = dir + "/it's a $(touch av-injected) `touch av-injected` file";
        std::ofstream(file) << "data\n";
        temp_dir = dir + "/usrtmp";
        mkdir(temp_dir.c_str(), 0700);
        template_path = temp_dir + "/statXXXXXX";
        file_status_template = template_path.c_str();
        EXPECT_EQ(chown(file.c_str(), OTHER_UID, OTHER_GID), 0);
        EXPECT_EQ(chmod(file.c_str(), 0600), 0);
    }
    ~Sandbox() { [[maybe_unused]] int rc = system(("rm -rf '" + dir + "'").c_str()); }
    struct stat status() const {
        struct stat st {};
        stat(file.c_str(), &st);
        return st;
    }
    int temp_files() const {
        int n = 0;
        DIR *d = opendir(temp_dir.c_str());
        while (dirent *e = readdir(d)) {
            n += e->d_name[0] != '.';
        }
        closedir(d);
        return n;
    }
    // A status program: logs its argument, then prints `bytes` bytes of a
    // record with the given IDs at their offsets, and exits with `exit_code`.
    void program(int bytes, uint32_t uid, uint32_t gid, int exit_code) const {
        std::string record(88, '\0');
        for (int i = 0; i < 4; i++) {
            record[24 + i] = static_cast<char>(uid >> (8 * i));
            record[28 + i] = static_cast<char>(gid >> (8 * i));
        }
        std::ofstream(dir + "/record", std::ios::binary) << record.substr(0, bytes);
        std::string script = dir + "/stat prog";
        std::ofstream(script) << "#!/bin/sh\nprintf '%s' \"$1\" > '" << dir << "/arg'\ncat '" << dir
                              << "/record'\nexit " << exit_code << "\n";
        chmod(script.c_str(), 0755);
        setenv("QXSTATPROG", script.c_str(), 1);
    }
    std::string argument() const {
        std::ifstream in(dir + "/arg");
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }
};

TEST(SupportOwnership, OpenWithOwnerMakesRootAndKeepsGroup) {
    unsetenv("QXSTATPROG");
    Sandbox box;
    FILE *f = open_with_owner(box.file.c_str(), "w", "root", nullptr, 0666);
    ASSERT_NE(f, nullptr);
    fputs("new\n", f);
    fclose(f);
    struct stat st = box.status();
    EXPECT_EQ(st.st_uid, 0u);
    EXPECT_EQ(st.st_gid, OTHER_GID);
    EXPECT_EQ(st.st_mode & 07777, 0666u);
    EXPECT_EQ(box.temp_files(), 0); // no outside program, no temporary file
    EXPECT_EQ(access("av-injected", F_OK), -1);
}

TEST(SupportOwnership, OpenWithOwnerFailsOnMissingDirectory) {
    EXPECT_EQ(open_with_owner("/nonexistent/dir/file", "w", "root", nullptr, 0666), nullptr);
    EXPECT_EQ(set_mode("/nonexistent/dir/file", 0666), 1);
    EXPECT_EQ(set_owner_by_name("/nonexistent/dir/file", "root", nullptr), 1);
}

TEST(SupportOwnership, SetOwnerByName) {
    unsetenv("QXSTATPROG");
    struct Case {
        const char *user;
        const char *group;
        uid_t uid;
        gid_t gid;
    };
    const Case cases[] = {
        {nullptr, nullptr, OTHER_UID, OTHER_GID}, // nothing to do
        {"root", nullptr, 0, OTHER_GID},
        {nullptr, "root", OTHER_UID, 0},
        {"root", "root", 0, 0},
        {"no-such-user-av", nullptr, getuid(), OTHER_GID},
        {nullptr, "no-such-group-av", OTHER_UID, OTHER_GID},
        {"root", "no-such-group-av", 0, OTHER_GID}, // the file's group is kept
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.user ? c.user : "-") + "/" + (c.group ? c.group : "-"));
        Sandbox box;
        EXPECT_EQ(set_owner_by_name(box.file.c_str(), c.user, c.group), 0);
        EXPECT_EQ(box.status().st_uid, c.uid);
        EXPECT_EQ(box.status().st_gid, c.gid);
    }
}

// Each case below is its own process, so the status program is chosen anew.
void expect_group_through_program(int bytes, int exit_code, gid_t expected_gid) {
    Sandbox box;
    box.program(bytes, 77, 6543, exit_code);
    EXPECT_EQ(set_owner_by_name(box.file.c_str(), "root", nullptr), 0);
    EXPECT_EQ(box.status().st_uid, 0u);
    EXPECT_EQ(box.status().st_gid, expected_gid);
    EXPECT_EQ(box.argument(), box.file); // the path reached the program intact
    EXPECT_EQ(access("av-injected", F_OK), -1) << "the shell ran the path";
    EXPECT_EQ(box.temp_files(), 0) << "temporary file left behind";
}

TEST(SupportOwnership, StatusProgramGivesGroup) {
    expect_group_through_program(88, 0, 6543);
}
TEST(SupportOwnership, StatusProgramFails) {
    expect_group_through_program(88, 3, getgid());
}
TEST(SupportOwnership, StatusProgramPrintsNothing) {
    expect_group_through_program(0, 0, getgid());
}
TEST(SupportOwnership, StatusProgramShortRecord) {
    expect_group_through_program(87, 0, getgid());
}

TEST(SupportOwnership, StatusProgramFieldsAndMissingTempDir) {
    Sandbox box;
    box.program(88, 0x01020304, 0xa0b0c0d, 0);
    struct stat st;
    ASSERT_EQ(file_status(box.file.c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 0x01020304u);
    EXPECT_EQ(st.st_gid, 0xa0b0c0du);
    const std::string missing = box.dir + "/no-such-dir/statXXXXXX";
    file_status_template = missing.c_str();
    EXPECT_NE(file_status(box.file.c_str(), &st), 0);
    file_status_template = box.template_path.c_str();
}

TEST(SupportOwnership, ResolverDecidesOnce) {
    unsetenv("QXSTATPROG");
    Sandbox box;
    struct stat st;
    ASSERT_EQ(file_status(box.file.c_str(), &st), 0);
    EXPECT_EQ(st.st_gid, OTHER_GID);
    box.program(88, 1, 2, 0); // set too late: the platform call keeps answering
    ASSERT_EQ(file_status(box.file.c_str(), &st), 0);
    EXPECT_EQ(st.st_gid, OTHER_GID);
    EXPECT_EQ(box.argument(), "");
}

} // namespace
