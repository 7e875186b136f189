// The password and name-service files that start-up reads itself: whatever
// the bytes, an entry found for a user ID must be one that the system
// library's own reader also takes, with that user ID.
#include "app/app.h"
#include "fuzz_memory.h"

#include <cstdint>
#include <cstdio>
#include <pwd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1)
        return 0;
    // Mostly root, which is what start-up looks for.
    unsigned int uid = data[0] < 0xc0 ? 0 : data[0] - 0xc0;
    data++;
    size--;
    FILE *file = fuzz_memory_file(data, size);
    int found = passwd_stream_has_uid(file, uid);
    if (found == 1) {
        rewind(file);
        bool library = false;
        for (struct passwd *entry; !library && (entry = fgetpwent(file)) != nullptr;)
            library = entry->pw_uid == uid;
        if (!library)
            __builtin_trap();
    }
    rewind(file);
    if (passwd_stream_reads_files(file) < 0)
        __builtin_trap();
    fclose(file);
    return 0;
}
