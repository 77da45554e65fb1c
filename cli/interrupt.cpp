#include "cli/interrupt.h"

#include "cli/command.h"

#include <csignal>

namespace {

// A signal handler can only reach process-wide state; this flag is the one such thing.
CancelFlag g_interrupted{false};

extern "C" void onInterrupt(int)
{
    g_interrupted.store(true);
}

} // namespace

const CancelFlag* interruptFlag()
{
    static const bool installed = [] {
        std::signal(SIGINT, onInterrupt);
        std::signal(SIGTERM, onInterrupt);
        return true;
    }();
    (void)installed;
    return &g_interrupted;
}

void CliProgress::progress(qint64 position, qint64 total)
{
    m_ctx.progress(m_what, total > 0 ? int(position * 100 / total) : 0);
}
