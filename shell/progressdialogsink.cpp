#include "shell/progressdialogsink.h"

#include <QCoreApplication>
#include <QProgressDialog>

namespace {
// Events run at most this often: compression reports many small steps.
constexpr qint64 kEventIntervalMs = 30;
// The dialog's bar counts in these steps whatever the operation's own unit.
constexpr int kBarSteps = 1000;
} // namespace

ProgressDialogSink::ProgressDialogSink(QProgressDialog& dialog)
    : m_dialog(dialog)
{
    m_dialog.setRange(0, kBarSteps);
    m_cancelConnection
        = QObject::connect(&m_dialog, &QProgressDialog::canceled, [this] { m_cancel = true; });
    m_sinceEvents.start();
}

ProgressDialogSink::~ProgressDialogSink()
{
    QObject::disconnect(m_cancelConnection);
}

void ProgressDialogSink::progress(qint64 position, qint64 total)
{
    if (total > 0)
        m_dialog.setValue(int(qBound<qint64>(0, position * kBarSteps / total, kBarSteps - 1)));
    if (m_sinceEvents.elapsed() >= kEventIntervalMs) {
        QCoreApplication::processEvents();
        m_sinceEvents.restart();
    }
}
