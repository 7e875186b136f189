// Arbitrary bytes as a line of the name-to-IP table: parsing must stay
// within the entry's fields, and a parsed entry must come back unchanged
// from its fixed-column form.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "editors/editors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // The table reads at most 149 characters per line.
    char line[150];
    size_t n = size < sizeof line - 1 ? size : sizeof line - 1;
    memcpy(line, data, n);
    line[n] = '\0';

    IpEntry first;
    ip_parse_line(line, &first);
    if (strlen(first.name) > 15 || strlen(first.address) > 15 || strlen(first.pc_name) > 25 ||
        first.kind < 0 || first.kind > 2)
        abort();

    char formatted[100];
    ip_format_line(&first, formatted, sizeof formatted);
    if (strlen(formatted) != 60)
        abort();
    IpEntry again;
    ip_parse_line(formatted, &again);
    if (strcmp(first.name, again.name) != 0 || strcmp(first.address, again.address) != 0 ||
        strcmp(first.pc_name, again.pc_name) != 0 || first.kind != again.kind)
        abort();
    return 0;
}
