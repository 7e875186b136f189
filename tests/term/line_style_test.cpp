// Which line pieces a description draws with, by locale and AVLINES.
#include "term_test_util.h"

#include <gtest/gtest.h>

namespace {

const char VT100[] = "GS=\\E(0:GE=\\E(B:GH=q:GV=x:GC=n:GL=u:GD=w:GR=t:GU=v:G1=k:G2=l:G3=m:G4=j";
const char SHIFT_OUT[] = "GS=\\E)0^N:GE=^O:GH=q:GV=x:GC=n:GL=u:GD=w:GR=t:GU=v:G1=k:G2=l:G3=m:G4=j";
const char FONT[] = "GS=\\E[11m:GE=\\E[10m:GH=q:GV=x:GC=n:GL=u:GD=w:GR=t:GU=v:G1=k:G2=l:G3=m:G4=j";
const char CP437[] = "GS=:GE=:GH=\\304:GV=\\263:GC=\\305:GL=\\264:GD=\\302:GR=\\303:GU=\\301:"
                     "G1=\\277:G2=\\332:G3=\\300:G4=\\331";

struct LineCase {
    const char *what;
    const char *lines; // the description's line-drawing fields
    int utf8;          // the locale
    const char *style; // AVLINES, or nullptr
    const char *gs, *gh, *g2;
};

} // namespace

TEST(LineStyle, LocaleAndOverride) {
    const LineCase cases[] = {
        {"VT100 switch, UTF-8", VT100, 1, nullptr, "", "\u2500", "\u250c"},
        {"VT100 switch, C locale", VT100, 0, nullptr, "\033(0", "q", "l"},
        {"shift out, UTF-8", SHIFT_OUT, 1, nullptr, "", "\u2500", "\u250c"},
        {"a font switch is not the VT100 one", FONT, 1, nullptr, "\033[11m", "q", "l"},
        {"own characters stay", CP437, 1, nullptr, "", "\304", "\332"},
        {"no line drawing, UTF-8", "", 1, nullptr, "", "-", "+"},
        {"forced UTF-8", CP437, 0, "utf8", "", "\u2500", "\u250c"},
        {"forced UTF-8 without line drawing", "", 0, "utf8", "", "\u2500", "\u250c"},
        {"forced VT100 in UTF-8", VT100, 1, "vt100", "\033(0", "q", "l"},
        {"forced VT100 over code page 437", CP437, 0, "vt100", "\033(0", "q", "l"},
        {"forced ASCII", VT100, 1, "ascii", "", "-", "+"},
        {"unknown value: as unset", VT100, 1, "UTF-8", "", "\u2500", "\u250c"},
    };
    for (const LineCase &c : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + c.lines + ":\n"), 0);
        if (c.style)
            setenv("AVLINES", c.style, 1);
        term_set_utf8_locale(c.utf8);
        term_screen_strings();
        EXPECT_STREQ(term_line_string(LS_GS), c.gs) << c.what;
        EXPECT_STREQ(term_line_string(LS_GH), c.gh) << c.what;
        EXPECT_STREQ(term_line_string(LS_G2), c.g2) << c.what;
    }
    unsetenv("AVLINES");
    term_set_utf8_locale(-1);
}
