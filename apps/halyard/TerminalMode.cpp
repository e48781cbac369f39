#include "apps/halyard/TerminalMode.h"

#include <termios.h>

#include <optional>

#include "support/annotated_mutex.h"

namespace halyard {
namespace {

struct Found {
    int descriptor = -1;
    termios settings{};
};

support::Mutex mutex;
std::optional<Found> found GUARDED_BY(mutex);

}  // namespace

TerminalMode::TerminalMode(int terminalDescriptor) {
    Found before;
    before.descriptor = terminalDescriptor;
    if (tcgetattr(terminalDescriptor, &before.settings) != 0) return;
    termios direct = before.settings;
    direct.c_lflag &= static_cast<tcflag_t>(~static_cast<tcflag_t>(ICANON | ECHO));
    direct.c_cc[VMIN] = 1;
    direct.c_cc[VTIME] = 0;
    const support::MutexLock lock(mutex);
    found = before;
    tcsetattr(terminalDescriptor, TCSADRAIN, &direct);
}

TerminalMode::~TerminalMode() {
    RestoreNow();
}

void TerminalMode::RestoreNow() {
    const support::MutexLock lock(mutex);
    if (found) tcsetattr(found->descriptor, TCSANOW, &found->settings);
    found.reset();
}

}  // namespace halyard
