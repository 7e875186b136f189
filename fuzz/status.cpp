// The status record that the outside status program writes: only a whole
// record is taken, and then the owner's IDs come from their fixed places.
#include "support/support.h"

#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    struct stat status;
    memset(&status, 0x5a, sizeof status);
    struct stat before = status;
    int result = file_status_record(data, size, &status);
    if ((result == 0) != (size == FILE_STATUS_RECORD))
        __builtin_trap();
    if (result != 0) {
        if (memcmp(&status, &before, sizeof status) != 0)
            __builtin_trap(); // a refused record changes nothing
        return 0;
    }
    auto le = [&](size_t at) {
        return static_cast<uint32_t>(data[at]) | static_cast<uint32_t>(data[at + 1]) << 8 |
               static_cast<uint32_t>(data[at + 2]) << 16 |
               static_cast<uint32_t>(data[at + 3]) << 24;
    };
    if (status.st_uid != le(24) || status.st_gid != le(28))
        __builtin_trap();
    return 0;
}
