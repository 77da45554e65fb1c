#pragma once

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QSettings>
#include <QStringList>
#include <QTimer>

#include <functional>

#include "resources/applicationinfo.h"

namespace shelltest {

// Answers the modal boxes that a dialog under test opens: message boxes are recorded as
// "title: text" and closed, a file dialog is given to `chooseFile` (which picks and accepts,
// or rejects). Runs while it lives.
class ModalAnswer
{
public:
    explicit ModalAnswer(std::function<void(QFileDialog&)> chooseFile = {})
        : m_chooseFile(std::move(chooseFile))
    {
        m_timer.setInterval(10);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { answer(); });
        m_timer.start();
    }
    const QStringList& messages() const { return m_messages; }

private:
    void answer()
    {
        // A dialog is answered on its second sighting: on the first one it may still be inside
        // show(), before exec() runs its loop, and closing it there would leave exec() waiting.
        QWidget* modal = QApplication::activeModalWidget();
        const bool seenBefore = modal && modal == m_lastSeen;
        m_lastSeen = modal;
        if (!seenBefore || !modal->isVisible())
            return;
        m_lastSeen = nullptr;
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            m_messages << box->windowTitle() + ": " + box->text();
            box->done(QMessageBox::Ok);
        } else if (auto* files = qobject_cast<QFileDialog*>(modal)) {
            if (m_chooseFile)
                m_chooseFile(*files);
            else
                files->reject();
        }
    }

    std::function<void(QFileDialog&)> m_chooseFile;
    QPointer<QWidget> m_lastSeen;
    QStringList m_messages;
    QTimer m_timer;
};

// The application's own settings store, emptied: the test process has a private
// configuration folder, so this never reaches the user's.
inline void useEmptyAppSettings()
{
    ApplicationInfo::apply();
    QSettings().clear();
}

} // namespace shelltest
