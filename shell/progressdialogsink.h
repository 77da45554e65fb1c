#pragma once

#include "store/progresssink.h"

#include <QElapsedTimer>
#include <QMetaObject>

class QProgressDialog;

// Drives a progress dialog from a long store operation on the main thread, and lets events run
// so that the dialog paints and its Cancel button works; a press sets the cancel flag that the
// operation polls. Not owned: the dialog.
class ProgressDialogSink : public ProgressSink
{
public:
    explicit ProgressDialogSink(QProgressDialog& dialog);
    ~ProgressDialogSink() override;
    ProgressDialogSink(const ProgressDialogSink&) = delete;
    ProgressDialogSink& operator=(const ProgressDialogSink&) = delete;

    void progress(qint64 position, qint64 total) override;

    const CancelFlag* cancelFlag() const { return &m_cancel; }
    bool wasCancelled() const { return m_cancel.load(); }

private:
    QProgressDialog& m_dialog;
    CancelFlag m_cancel { false };
    QElapsedTimer m_sinceEvents;
    QMetaObject::Connection m_cancelConnection;
};
