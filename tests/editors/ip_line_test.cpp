// Fixed-column lines of the name-to-IP table and the entry dialog's focus order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "editors/editors.h"

namespace {

std::string pad(const std::string &s, size_t n) {
    return s + std::string(n - s.size(), ' ');
}

std::string fixed(const char *name, const char *address, const std::string &pc, char kind) {
    return pad(name, 15) + " " + pad(address, 15) + "  " + pad(pc, 25) + " " + kind;
}

TEST(IpLine, ParseAndFormat) {
    struct Case {
        std::string line;
        IpEntry entry;
        bool canonical; // formatting gives the line back
    };
    const std::vector<Case> cases = {
        {fixed("alpha", "10.0.0.1", "", '0'), {"alpha", "10.0.0.1", 0, ""}, true},
        {fixed("abcdefghijklmno", "255.255.255.255", std::string(25, 'p'), '1'),
         {"abcdefghijklmno", "255.255.255.255", 1, "ppppppppppppppppppppppppp"},
         true},
        {fixed("d", "", "x", '7'), {"d", "", 0, "x"}, false},
        {pad("n", 16) + pad("1.2.3.4", 19), {"n", "1.2.3.4", 0, ""}, false},
        {fixed("n", "", "pc", '1') + "\r", {"n", "", 1, "pc"}, false},
    };
    for (const Case &c : cases) {
        IpEntry e;
        ip_parse_line(c.line.c_str(), &e);
        EXPECT_STREQ(e.name, c.entry.name) << c.line;
        EXPECT_STREQ(e.address, c.entry.address) << c.line;
        EXPECT_STREQ(e.pc_name, c.entry.pc_name) << c.line;
        EXPECT_EQ(e.kind, c.entry.kind) << c.line;
        char out[100];
        ip_format_line(&e, out, sizeof out);
        EXPECT_EQ(std::string(out).size(), 60u) << c.line;
        EXPECT_TRUE(!c.canonical || out == c.line) << out;
    }
}

TEST(IpFocus, OrderFollowsTheSelectedKind) {
    // Stops: 0 name, 1/3/5 radio buttons, 2 address, 4 Hawser name, 6 Samba name.
    const std::vector<std::vector<int>> forward = {
        {0, 1, 2, 3, 5, 0}, {0, 1, 3, 4, 5, 0}, {0, 1, 3, 5, 6, 0}};
    for (int kind = 0; kind < 3; kind++) {
        for (size_t i = 1; i < forward[kind].size(); i++) {
            EXPECT_EQ(ip_focus_next(forward[kind][i - 1], kind), forward[kind][i]) << kind;
            EXPECT_EQ(ip_focus_previous(forward[kind][i], kind), forward[kind][i - 1]) << kind;
        }
    }
}

} // namespace
