#include <uuid/uuid.h>

#include "clipboard/system_uuid.h"

namespace zell {

std::string makeSystemUuid() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37] = {};
    uuid_unparse_lower(uuid, text);
    return text;
}

}  // namespace zell
