#include "DescriptorZero.h"

#include <fcntl.h>
#include <unistd.h>

namespace zorhost::runtime {

static void PutNullAtZero() {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null <= 0) return;  // it was free and is taken now; or there is no /dev/null
    dup2(null, 0);
    close(null);
}

DescriptorZeroScope::DescriptorZeroScope() {
    flags_ = fcntl(0, F_GETFD);
    if (flags_ != -1) saved_ = fcntl(0, F_DUPFD_CLOEXEC, 3);
    if (flags_ != -1 && saved_ == -1) return;  // no descriptor left for a copy: it stays where it is
    PutNullAtZero();
}

DescriptorZeroScope::~DescriptorZeroScope() {
    if (saved_ != -1) {
        dup2(saved_, 0);
        fcntl(0, F_SETFD, flags_);
        close(saved_);
    } else if (flags_ == -1) {
        close(0);
    }
}

void FillDescriptorZero() {
    if (fcntl(0, F_GETFD) == -1) PutNullAtZero();
}

}  // namespace zorhost::runtime
