// The one list of what the program reads from a terminal description: every
// capability with its type, its reader and what serves in its absence, and
// the key table that key_init walks. No other source spells a capability.
#include "term/term.h"
#include "term/term_internal.h"

// Readers: "motion" is cursor addressing and clearing, "screen" the cursor,
// keypad and line-drawing strings loaded once before raw mode, "attributes"
// the sixteen display strings the window library sends, "keys" key_init,
// "start-up" the program entry, "loading" the description reader itself.
const TermCapability term_capabilities[CAP_COUNT] = {
    {CAP_CM, "cm", 'S', "motion", "none: every motion is \"('cm' error)\""},
    {CAP_BC, "bc", 'S', "motion", "byte 8 with bs, else kl, else \"(BC)\""},
    {CAP_BS, "bs", 'B', "motion, keys", "byte 8 neither moves left nor is Backspace"},
    {CAP_UP, "up", 'S', "motion", "ku, else \"(UP)\""},
    {CAP_CL, "cl", 'S', "motion", "twice li newlines"},
    {CAP_LI, "li", 'N', "motion", "no clear fallback; auto-margin on"},
    {CAP_AW, "aw", 'N', "motion", "on when li is at most 24"},
    {CAP_NE, "Ne", 'B', "start-up", "the legends name ESC as the cancel key"},

    {CAP_CN, "CN", 'S', "screen", "CO, else ve"},
    {CAP_CO, "CO", 'S', "screen", "ve"},
    {CAP_AB, "Ab", 'B', "screen", "the cursor-visible string is the description's"},
    {CAP_CF, "CF", 'S', "screen", "vi; without a visible and an invisible string, neither"},
    {CAP_STD_VE, "ve", 'S', "screen", "the cursor-visible string, third choice"},
    {CAP_STD_VI, "vi", 'S', "screen", "the cursor-invisible string, second choice"},

    {CAP_STD_KS, "ks", 'S', "screen", "nothing sent: the keys send their default forms"},
    {CAP_STD_KE, "ke", 'S', "screen", "nothing sent"},

    {CAP_GS, "GS", 'S', "screen", "any of GS to G4 missing: as, ae, ac, else ASCII"},
    {CAP_GE, "GE", 'S', "screen", "as GS"},
    {CAP_GH, "GH", 'S', "screen", "ac's q, else \"-\""},
    {CAP_GV, "GV", 'S', "screen", "ac's x, else \"|\""},
    {CAP_GC, "GC", 'S', "screen", "ac's n, else \"+\""},
    {CAP_GL, "GL", 'S', "screen", "ac's u, else \"+\""},
    {CAP_GD, "GD", 'S', "screen", "ac's w, else \"+\""},
    {CAP_GR, "GR", 'S', "screen", "ac's t, else \"+\""},
    {CAP_GU, "GU", 'S', "screen", "ac's v, else \"+\""},
    {CAP_G1, "G1", 'S', "screen", "ac's k, else \"+\""},
    {CAP_G2, "G2", 'S', "screen", "ac's l, else \"+\""},
    {CAP_G3, "G3", 'S', "screen", "ac's m, else \"+\""},
    {CAP_G4, "G4", 'S', "screen", "ac's j, else \"+\""},
    {CAP_STD_AS, "as", 'S', "screen", "with ae and ac, stands for GS"},
    {CAP_STD_AE, "ae", 'S', "screen", "with as and ac, stands for GE"},
    {CAP_STD_AC, "ac", 'S', "screen", "pairs of a VT100 letter and the terminal's byte"},
    {CAP_STD_EA, "eA", 'S', "screen", "nothing: as alone enters line drawing"},

    {CAP_NORM, "norm", 'S', "attributes", "se, else me"},
    {CAP_REV, "rev", 'S', "attributes", "so, else mr"},
    {CAP_BLINK, "blink", 'S', "attributes", "me and mb, else empty"},
    {CAP_BLINK_REV, "blink_rev", 'S', "attributes", "me, mb, mr, else empty"},
    {CAP_BOLD, "bold", 'S', "attributes", "me and md, else empty"},
    {CAP_BOLD_REV, "bold_rev", 'S', "attributes", "me, md, mr, else empty"},
    {CAP_BOLD_BLINK, "bold_blink", 'S', "attributes", "me, md, mb, else empty"},
    {CAP_BOLD_BLINK_REV, "bold_blink_rev", 'S', "attributes", "me, md, mb, mr, else empty"},
    {CAP_UND, "und", 'S', "attributes", "me and us, else empty"},
    {CAP_UND_REV, "und_rev", 'S', "attributes", "me, us, mr, else empty"},
    {CAP_UND_BLINK, "und_blink", 'S', "attributes", "me, us, mb, else empty"},
    {CAP_UND_BLINK_REV, "und_blink_rev", 'S', "attributes", "me, us, mb, mr, else empty"},
    {CAP_UND_BOLD, "und_bold", 'S', "attributes", "me, us, md, else empty"},
    {CAP_UND_BOLD_REV, "und_bold_rev", 'S', "attributes", "me, us, md, mr, else empty"},
    {CAP_UND_BOLD_BLINK, "und_bold_blink", 'S', "attributes", "me, us, md, mb, else empty"},
    {CAP_UND_BOLD_BLINK_REV, "und_bold_blink_rev", 'S', "attributes",
     "me, us, md, mb, mr, else empty"},
    {CAP_SE, "se", 'S', "attributes", "the normal string, second choice"},
    {CAP_SO, "so", 'S', "attributes", "the reverse string, second choice"},
    {CAP_STD_ME, "me", 'S', "attributes", "the normal string, third choice; starts combinations"},
    {CAP_STD_MR, "mr", 'S', "attributes", "the reverse string, third choice"},
    {CAP_STD_MB, "mb", 'S', "attributes", "no blinking combination"},
    {CAP_STD_MD, "md", 'S', "attributes", "no bold combination"},
    {CAP_STD_US, "us", 'S', "attributes", "no underlined combination"},

    {CAP_KL, "kl", 'S', "keys, motion", "Left unbound; third choice for cursor-left"},
    {CAP_KR, "kr", 'S', "keys", "Right unbound"},
    {CAP_KU, "ku", 'S', "keys, motion", "Up unbound; second choice for cursor-up"},
    {CAP_KD, "kd", 'S', "keys", "Down unbound"},
    {CAP_KB, "kb", 'S', "keys", "byte 8 with bs"},
    {CAP_DK, "dk", 'S', "keys", "Dk, else byte 127"},
    {CAP_DK2, "Dk", 'S', "keys", "byte 127"},
    {CAP_AL, "al", 'S', "keys", "kI"},
    {CAP_TA, "ta", 'S', "keys", "byte 9 is itself"},
    {CAP_BT, "bt", 'S', "keys", "BackTab unbound"},
    {CAP_PU, "PU", 'S', "keys", "kP; Ctrl-P always"},
    {CAP_PD, "PD", 'S', "keys", "kN; Ctrl-N always"},
    {CAP_HO, "ho", 'S', "keys", "kh"},
    {CAP_EN, "EN", 'S', "keys", "@7"},
    {CAP_K0, "k0", 'S', "keys",
     "F1 without FS in this program's numbering; F0 (none) in the "
     "standard one; ESC 1 to ESC 0 always"},
    {CAP_K1, "k1", 'S', "keys", "as k0"},
    {CAP_K2, "k2", 'S', "keys", "as k0"},
    {CAP_K3, "k3", 'S', "keys", "as k0"},
    {CAP_K4, "k4", 'S', "keys", "as k0"},
    {CAP_K5, "k5", 'S', "keys", "as k0"},
    {CAP_K6, "k6", 'S', "keys", "as k0"},
    {CAP_K7, "k7", 'S', "keys", "as k0"},
    {CAP_K8, "k8", 'S', "keys", "as k0"},
    {CAP_K9, "k9", 'S', "keys", "as k0"},
    {CAP_FS, "FS", 'N', "keys", "k0 is F1"},
    {CAP_STD_KH, "kh", 'S', "keys", "bound as well as ho"},
    {CAP_STD_END, "@7", 'S', "keys", "stands for EN"},
    {CAP_STD_KP, "kP", 'S', "keys", "stands for PU"},
    {CAP_STD_KN, "kN", 'S', "keys", "stands for PD"},
    {CAP_STD_KI, "kI", 'S', "keys", "bound as well as al"},
    {CAP_STD_KD, "kD", 'S', "keys", "bound as well as dk, Dk or byte 127"},

    {CAP_TC, "tc", 'S', "loading", "the entry ends here"},
};

int tc_cap_flag(TermCap cap) {
    return tc_flag(term_capabilities[cap].name);
}

int tc_cap_num(TermCap cap) {
    return tc_num(term_capabilities[cap].name);
}

const char *tc_cap_str(TermCap cap) {
    return tc_str(term_capabilities[cap].name);
}

// In the order of binding; see KeyRule for the groups and the priorities.
const KeySource key_table[] = {
    {KEY_RULE_CAP, CAP_KL, nullptr, KEY_LEFT, 4},
    {KEY_RULE_CAP, CAP_KR, nullptr, KEY_RIGHT, 4},
    {KEY_RULE_CAP, CAP_KU, nullptr, KEY_UP, 4},
    {KEY_RULE_CAP, CAP_KD, nullptr, KEY_DOWN, 4},

    {KEY_RULE_CAP, CAP_KB, nullptr, KEY_BACKSPACE, 1},
    {KEY_RULE_BYTES_IF, CAP_BS, "\b", KEY_BACKSPACE, 1},
    // Byte 127 is Delete when no Delete key is described, at the priority of
    // the other editing keys: it replaces a BackSpace key that sends it too.
    {KEY_RULE_CAP, CAP_DK, nullptr, KEY_DELETE, 1},
    {KEY_RULE_ELSE, CAP_DK2, nullptr, KEY_DELETE, 1},
    {KEY_RULE_BYTES_ELSE, CAP_COUNT, "\177", KEY_DELETE, 1},
    {KEY_RULE_CAP, CAP_STD_KD, nullptr, KEY_DELETE, 1},
    // "al" is insert-line in standard descriptions but the Insert key here;
    // the standard key name is bound as well.
    {KEY_RULE_CAP, CAP_AL, nullptr, KEY_INSERT, 1},
    {KEY_RULE_CAP, CAP_STD_KI, nullptr, KEY_INSERT, 1},
    {KEY_RULE_CAP, CAP_TA, nullptr, KEY_TAB, 1},
    {KEY_RULE_CAP, CAP_BT, nullptr, KEY_BACKTAB, 1},
    {KEY_RULE_BYTES, CAP_COUNT, "\020", KEY_PGUP, 1},
    {KEY_RULE_CAP, CAP_PU, nullptr, KEY_PGUP, 1},
    {KEY_RULE_ELSE, CAP_STD_KP, nullptr, KEY_PGUP, 1},
    {KEY_RULE_BYTES, CAP_COUNT, "\016", KEY_PGDN, 1},
    {KEY_RULE_CAP, CAP_PD, nullptr, KEY_PGDN, 1},
    {KEY_RULE_ELSE, CAP_STD_KN, nullptr, KEY_PGDN, 1},
    // "ho" likewise: cursor-home in standard descriptions, Home here.
    {KEY_RULE_CAP, CAP_HO, nullptr, KEY_HOME, 1},
    {KEY_RULE_CAP, CAP_STD_KH, nullptr, KEY_HOME, 1},
    {KEY_RULE_CAP, CAP_EN, nullptr, KEY_END, 1},
    {KEY_RULE_ELSE, CAP_STD_END, nullptr, KEY_END, 1},

    {KEY_RULE_BYTES, CAP_COUNT, "\0331", KEY_F1, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0332", KEY_F2, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0333", KEY_F3, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0334", KEY_F4, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0335", KEY_F5, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0336", KEY_F6, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0337", KEY_F7, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0338", KEY_F8, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0339", KEY_F9, 3},
    {KEY_RULE_BYTES, CAP_COUNT, "\0330", KEY_F10, 3},
    {KEY_RULE_FKEYS, CAP_FS, nullptr, KEY_F1, 3},

    {KEY_RULE_BYTES, CAP_COUNT, "\033\033", KEY_ESC_ESC, 2},
    {KEY_RULE_BYTES, CAP_COUNT, "\033?", KEY_ESC_QUERY, 2},
    {KEY_RULE_BYTES, CAP_COUNT, "\033/", KEY_ESC_SLASH, 2},
};
const int key_table_size = sizeof key_table / sizeof key_table[0];
