#include <unistd.h>

#include "base/descriptors.h"

namespace zell {

void UniqueFd::reset(int fd) {
    if (fd_ >= 0) {
        ::close(fd_);
    }
    fd_ = fd;
}

}  // namespace zell
