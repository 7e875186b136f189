// Load, edit, save and load again, for each file format: what is saved must
// load back equal. The first byte picks the format (even: a line file as
// commands, env and the documentation are; odd: ipaddr) and the edit; the
// bytes after the last 0xFF are the text of an added entry; the rest is the
// file.
#include "editors/editors.h"
#include "fuzz_memory.h"
#include "support/support.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::vector<std::string> entries(List *list) {
    std::vector<std::string> out;
    for (int i = 0; i < list_count(list); i++)
        out.push_back(static_cast<const char *>(list_get(list, i)));
    return out;
}

// Text as a dialog field can hold it: no NUL or newline, at most 76 characters.
std::string field_text(const uint8_t *p, size_t n, size_t max) {
    std::string s;
    for (size_t i = 0; i < n && s.size() < max; i++)
        if (p[i] != 0 && p[i] != '\n')
            s += static_cast<char>(p[i]);
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    int mode = data[0];
    const uint8_t *file_bytes = data + 1;
    const uint8_t *last = static_cast<const uint8_t *>(memrchr(data + 1, 0xff, size - 1));
    size_t file_size = last ? static_cast<size_t>(last - file_bytes) : size - 1;
    file_size = fuzz_first_lines(file_bytes, file_size, 16);
    std::string added =
        last ? field_text(last + 1, size - static_cast<size_t>(last + 1 - data), 76) : "";
    bool ip = mode & 1;
    char msg[AV_MSG_MAX];

    // Load.
    List *list = list_create(25);
    FILE *file = fuzz_memory_file(file_bytes, file_size);
    if (ip)
        ip_read_table(file, "ipaddr", list, nullptr);
    else if (read_line_stream(file, "file", list, "", msg) < 0)
        __builtin_trap();
    fclose(file);

    // Edit as the screens do: add, delete one, sort.
    if (ip && !added.empty()) {
        IpEntry entry = {};
        str_copy_max(entry.name, added.c_str(), 15);
        str_copy_max(entry.address, added.c_str() + (added.size() > 15 ? 15 : added.size()), 15);
        str_copy_max(entry.pc_name, added.c_str() + (added.size() > 30 ? 30 : added.size()), 25);
        entry.kind = mode / 2 % 3;
        char line[160];
        ip_format_line(&entry, line, sizeof line);
        list_add_string(line, list, msg);
    } else if (!added.empty()) {
        list_add_string(added.c_str(), list, msg);
    }
    if (list_count(list) > 0 && (mode & 2))
        list_delete(list, mode % list_count(list));
    if (sort_string_list(list, msg) != 0)
        __builtin_trap();

    // Save: the line files' writer; the table saves each line in its fixed
    // columns, one to a line, which is what the same writer gives for the
    // formatted lines.
    std::vector<std::string> saved;
    List *out = list_create(25);
    for (const std::string &e : entries(list)) {
        if (ip) {
            IpEntry entry;
            ip_parse_line(e.c_str(), &entry);
            char line[160];
            ip_format_line(&entry, line, sizeof line);
            saved.push_back(line);
        } else {
            saved.push_back(e);
        }
        list_add_string(saved.back().c_str(), out, msg);
    }
    // In memory: the file functions only wrap these stream ones in opening,
    // replacing and closing, which costs more than the rest of an input.
    char *text = nullptr;
    size_t text_size = 0;
    FILE *save = open_memstream(&text, &text_size);
    if (save == nullptr || write_line_stream(save, out, msg) != 0 || ferror(save))
        __builtin_trap();
    fclose(save);

    // Load again.
    List *again = list_create(25);
    FILE *in = fuzz_memory_file(reinterpret_cast<const uint8_t *>(text), text_size);
    if (ip)
        ip_read_table(in, "ipaddr", again, nullptr);
    else if (read_line_stream(in, "file", again, "", msg) < 0)
        __builtin_trap();
    fclose(in);
    free(text);
    // A saved line of exactly 149 characters comes back followed by an empty
    // one: a file is read in pieces of 149 characters, and its newline is the
    // next piece.
    std::vector<std::string> want;
    for (const std::string &e : saved) {
        want.push_back(e);
        if (!ip && e.size() == 149)
            want.push_back("");
    }
    if (entries(again) != want)
        __builtin_trap();
    if (ip) {
        for (int i = 0; i < list_count(list); i++) {
            IpEntry a, b;
            ip_parse_line(static_cast<const char *>(list_get(list, i)), &a);
            ip_parse_line(saved[i].c_str(), &b);
            if (strcmp(a.name, b.name) || strcmp(a.address, b.address) ||
                strcmp(a.pc_name, b.pc_name) || a.kind != b.kind)
                __builtin_trap();
        }
    }
    list_destroy(again);
    list_destroy(out);
    list_destroy(list);
    return 0;
}
