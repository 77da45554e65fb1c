#pragma once

// Fake launcher dialogs, short simulated cards and a message-box answerer for the launcher's
// tests.

#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "shell/launcherdialogs.h"
#include "shell/mainwindow.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tools/simulator.h"
#include "tools/simulatorscript.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace launchertest {

// Writes a simulated card of `minutes` into `folder`.
inline void simulateCard(const QString& folder, double minutes)
{
    SimulatorScript script;
    setSimulationHours(script, minutes / 60.0);
    Simulator(script, 7).writeAll(folder, 2);
}

inline int importSimulatedCard(StudyRepository& repository, const QString& folder)
{
    CardImportOptions options;
    options.patient.lastName = "Paz";
    options.patient.firstName = "Eva";
    options.patient.start = QDateTime(QDate(2026, 11, 20), QTime(9, 0));
    const QString file = CardSignalFile::dataFilePath(folder);
    return importCard(repository, file, CardSignalFile::findDataOffset(file), options);
}

// Stands in for the download and preprocessing dialogs and remembers how it was asked.
class FakeDialogs : public LauncherDialogs
{
public:
    struct Log
    {
        int downloads = 0;
        QList<QPair<int, bool>> preprocessed; // study id, after download
        int browsed = 0;
        int configured = 0;
        std::optional<int> choice; // what the browser answers
    };

    FakeDialogs(std::shared_ptr<Log> log, QString cardFolder, bool acceptPreprocess = true)
        : m_log(std::move(log))
        , m_cardFolder(std::move(cardFolder))
        , m_accept(acceptPreprocess)
    {
    }

    void download(
        QWidget*, StudyRepository& repository, const std::function<void(int)>& downloaded) override
    {
        ++m_log->downloads;
        downloaded(importSimulatedCard(repository, m_cardFolder));
    }

    std::optional<ProcessingOptions> preprocess(
        QWidget*, StudyRepository&, Study* study, bool afterDownload) override
    {
        m_log->preprocessed.append({ study->id(), afterDownload });
        if (!m_accept)
            return std::nullopt;
        return ProcessingOptions();
    }

    std::optional<int> chooseStudy(QWidget*, StudyRepository&) override
    {
        ++m_log->browsed;
        return m_log->choice;
    }

    void configure(QWidget*) override { ++m_log->configured; }

private:
    std::shared_ptr<Log> m_log;
    QString m_cardFolder;
    bool m_accept;
};

// Answers every message box that comes up with `button`, remembering title and text.
class BoxAnswerer
{
public:
    explicit BoxAnswerer(QMessageBox::StandardButton button = QMessageBox::Ok)
        : m_button(button)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { answer(); });
        m_timer.start(5);
    }

    QStringList titles, texts;

private:
    void answer()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        titles << box->windowTitle();
        texts << box->text();
        QAbstractButton* b = box->button(m_button);
        if (!b)
            b = box->buttons().value(0);
        if (b)
            b->click();
    }

    QMessageBox::StandardButton m_button;
    QTimer m_timer;
};

} // namespace launchertest
