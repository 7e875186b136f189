// The command line and the start-up checks: exact bytes, statuses, and a
// terminal left alone by every refusal.
#include "e2e_helpers.h"

#include <gtest/gtest.h>

#include <fstream>

TEST(AppStartup, VersionsAndRefusals) {
    const std::string version = "Program Version: 03.00.00\n";
    const std::string long_version = "\nArdovane PC Conduvia Configuration " + version;
    const std::string not_root = "\aThe configuration program must be run by 'root'.\n";
    const std::string bad_argument = "\aInvalid Argument...\n";
    const std::string no_description = "\aavconfig: no description for terminal ";
    const std::string searched =
        AV_PRODUCT_ROOT "/termdef, /etc/termcap.AV, /etc/termcap.AVQX, /etc/termcap or the "
                        "terminfo database\n";
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> env; // "TERM" alone: no TERM at all
        bool as_root;
        int status;
        std::string out;
    };
    const Case cases[] = {
        {{"-v"}, {}, true, 0, long_version},
        {{"-qv"}, {"TERM"}, false, 0, version},
        {{"-pv"}, {"TERM"}, true, 0, version},
        // Only a sole argument is a version request; the user checks come first.
        {{"-v", "-v"}, {}, true, 255, bad_argument},
        {{"-v", "-v"}, {}, false, 255, not_root},
        {{"-V"}, {}, true, 255, bad_argument},
        {{}, {}, false, 255, not_root},
        {{}, {"TERM"}, true, 255, "\aavconfig: no terminal type set (AVTERM, QXTERM, TERM)\n"},
        {{}, {"AVTERM=nosuchterm"}, true, 255, no_description + "'nosuchterm' in " + searched},
        {{}, {"TERM=no-such.term"}, true, 255, no_description + "'no-such.term' in " + searched},
        {{}, {"AVTERMCAP=/dev/null"}, true, 255, no_description + "'xterm' in /dev/null\n"},
        // Not a regular file: skipped at once rather than read for ever.
        {{}, {"AVTERMCAP=/dev/zero"}, true, 255, no_description + "'xterm' in /dev/zero\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        Harness *h = harness_start({.args = c.args, .env = c.env, .as_root = c.as_root});
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(harness_wait_exit(h), c.status);
        // The terminal turns each "\n" into "\r\n"; nothing else may reach it.
        std::string out;
        for (char ch : c.out)
            out += ch == '\n' ? std::string("\r\n") : std::string(1, ch);
        EXPECT_EQ(harness_output(h), out);
        EXPECT_TRUE(harness_mode_unchanged(h));
        harness_stop(h);
    }
}

TEST(AppStartup, CutDescriptionLinksAreReported) {
    std::string path = harness_new_root() + "/loop";
    std::ofstream(path) << "loop:cm=\\E[%i%d;%dH:cl=\\E[H\\E[2J:tc=loop:\n";
    Harness *h = e2e::start_at_menu({.env = {"AVTERMCAP=" + path, "TERM=loop"}});
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(harness_output(h).rfind("avconfig: the description of terminal 'loop' has too many "
                                      "'tc' links; capabilities beyond them are ignored\r\n",
                                      0),
              0u)
        << harness_output(h).substr(0, 200);
    e2e::quit(h);
}
