// Fixed-column lines of the name-to-IP table and the entry dialog's focus
// order: the pure parts of the table screen.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "editors/editors.h"

namespace {

std::string pad(const std::string &s, size_t n) {
    return s + std::string(n - s.size(), ' ');
}

// A line as the file holds it: name, address, PC name, kind digit.
std::string fixed(const std::string &name, const std::string &address, const std::string &pc,
                  char kind) {
    return pad(name, 15) + " " + pad(address, 15) + "  " + pad(pc, 25) + " " + kind;
}

TEST(IpParseLine, Columns) {
    struct Case {
        const char *what;
        std::string line;
        const char *name;
        const char *address;
        std::string pc_name;
        int kind;
    };
    const std::vector<Case> cases = {
        {"fixed address", fixed("alpha", "10.0.0.1", "", '0'), "alpha", "10.0.0.1", "", 0},
        {"hawser", fixed("beta", "", "BETAPC", '1'), "beta", "", "BETAPC", 1},
        {"samba", fixed("gamma", "", "GAMMA PC", '2'), "gamma", "", "GAMMA PC", 2},
        {"unknown kind digit is 0", fixed("d", "", "x", '7'), "d", "", "x", 0},
        {"full-width fields",
         fixed("abcdefghijklmno", "255.255.255.255", std::string(25, 'p'), '2'), "abcdefghijklmno",
         "255.255.255.255", std::string(25, 'p'), 2},
        {"short name padded to 60", pad("pc1", 60), "pc1", "", "", 0},
        {"bare short name", "pc1", "pc1", "", "", 0},
        {"empty line", "", "", "", "", 0},
        {"trailing tabs trimmed", "name\t\t", "name", "", "", 0},
        {"line of 35 has no PC name", pad("n", 16) + pad("1.2.3.4", 19), "n", "1.2.3.4", "", 0},
        {"line of 36 has a PC name", pad("n", 33) + "abc", "n", "", "abc", 0},
        {"kind needs offset 59", pad("n", 33) + pad("pc", 26), "n", "", "pc", 0},
        {"carriage return stays in the kind column", fixed("n", "", "pc", '1') + "\r", "n", "",
         "pc", 1},
    };
    for (const Case &c : cases) {
        IpEntry e;
        ip_parse_line(c.line.c_str(), &e);
        EXPECT_STREQ(e.name, c.name) << c.what;
        EXPECT_STREQ(e.address, c.address) << c.what;
        EXPECT_EQ(std::string(e.pc_name), c.pc_name) << c.what;
        EXPECT_EQ(e.kind, c.kind) << c.what;
    }
}

TEST(IpFormatLine, FixedColumnsAndRoundTrip) {
    const std::vector<IpEntry> entries = {
        {"alpha", "10.0.0.1", 0, ""},
        {"Beta", "", 1, "BETA-PC"},
        {"g", "", 2, "some pc name with blanks"},
        {"abcdefghijklmno", "255.255.255.255", 2, "pppppppppppppppppppppppp"},
    };
    for (const IpEntry &e : entries) {
        char line[100];
        ip_format_line(&e, line, sizeof line);
        std::string s = line;
        ASSERT_EQ(s.size(), 60u) << e.name;
        EXPECT_EQ(s.substr(0, 15), pad(e.name, 15));
        EXPECT_EQ(s.substr(16, 15), pad(e.address, 15));
        EXPECT_EQ(s.substr(31, 2), "  ");
        EXPECT_EQ(s.substr(33, 25), pad(e.pc_name, 25));
        EXPECT_EQ(s[59], '0' + e.kind);
        IpEntry back;
        ip_parse_line(line, &back);
        EXPECT_STREQ(back.name, e.name);
        EXPECT_STREQ(back.address, e.address);
        EXPECT_STREQ(back.pc_name, e.pc_name);
        EXPECT_EQ(back.kind, e.kind);
    }
}

TEST(IpFocus, OrderFollowsTheSelectedKind) {
    struct Case {
        int kind;
        std::vector<int> forward; // from the name, Tab after Tab
        int back_from_name;
    };
    const std::vector<Case> cases = {
        {0, {0, 1, 2, 3, 5, 0}, 5},
        {1, {0, 1, 3, 4, 5, 0}, 5},
        {2, {0, 1, 3, 5, 6, 0}, 6},
    };
    for (const Case &c : cases) {
        int focus = 0;
        for (size_t i = 1; i < c.forward.size(); i++) {
            focus = ip_focus_next(focus, c.kind);
            EXPECT_EQ(focus, c.forward[i]) << "kind " << c.kind << " step " << i;
        }
        // Going back visits the same stops in reverse.
        for (size_t i = c.forward.size() - 1; i > 0; i--) {
            EXPECT_EQ(ip_focus_previous(c.forward[i], c.kind), c.forward[i - 1])
                << "kind " << c.kind;
        }
        EXPECT_EQ(ip_focus_previous(0, c.kind), c.back_from_name) << "kind " << c.kind;
    }
}

} // namespace
