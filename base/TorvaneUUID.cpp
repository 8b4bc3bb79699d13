// Random UUIDs from libuuid.
#include "TorvaneUUID.h"

#include <uuid/uuid.h>

namespace Torvane {

// uuid_generate takes /dev/urandom (or getrandom) when available and falls back
// to a time-based UUID otherwise; both are unique enough for Call-IDs and branches.
void UUID::uuid_create_string(char* buffer) {
    uuid_t id;
    uuid_generate(id);
    uuid_unparse_lower(id, buffer);  // 36 characters and a NUL
}

}  // namespace Torvane
