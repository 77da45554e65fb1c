#pragma once

#include "store/progresssink.h"

#include <QString>

class CliContext;

// Ctrl-C (SIGINT) and SIGTERM set this flag instead of killing the process, so that long
// work stops at a block boundary and cleans up after itself.
const CancelFlag* interruptFlag();

// Forwards progress to the command's stderr line, in percent.
class CliProgress : public ProgressSink
{
public:
    CliProgress(CliContext& ctx, const QString& what)
        : m_ctx(ctx)
        , m_what(what)
    {
    }
    void progress(qint64 position, qint64 total) override;
    // A long operation's step text replaces the name given at construction.
    void status(const QString& text) override { m_what = text; }

private:
    CliContext& m_ctx;
    QString m_what;
};
