// The study browser's transfers: export to and import from the shared folder, and sending to
// the maker through the uploader. Each runs its studies in order under one progress dialog.
#include "shell/openstudydialog.h"

#include "shell/progressdialogsink.h"
#include "shell/studytreeitem.h"
#include "shell/uploader.h"
#include "store/studyrepository.h"
#include "ui_openstudydialog.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressDialog>
#include <QSettings>
#include <QTemporaryFile>

#include <exception>
#include <stdexcept>

bool OpenStudyDialog::checkSharedFolder(const QString& folder, bool forWriting)
{
    QString problem;
    if (folder.isEmpty())
        problem = tr("Choose a shared folder first.");
    else if (!QFileInfo(folder).isDir())
        problem = tr("The shared folder %1 cannot be reached.\nPlease check shared folder access "
                     "with your network administrator.")
                      .arg(QDir::toNativeSeparators(folder));
    else if (forWriting) {
        // The permission bits don't tell the whole truth on network shares; a file does.
        QTemporaryFile probe(folder + "/.holter-write-check-XXXXXX");
        if (!probe.open())
            problem = tr("The shared folder %1 is read-only.\nPlease check shared folder access "
                         "with your network administrator.")
                          .arg(QDir::toNativeSeparators(folder));
    }
    if (problem.isEmpty())
        return true;
    QMessageBox::critical(this, tr("Error"), problem);
    if (m_sharedVisible)
        fillSharedTree();
    return false;
}

OpenStudyDialog::LoopOutcome OpenStudyDialog::runLoop(int count, const LoopStep& step)
{
    LoopOutcome outcome;
    QProgressDialog progress(tr("Please wait..."), tr("Cancel"), 0, 1, this);
    progress.setWindowTitle(tr("Please wait..."));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(0);
    progress.setAutoClose(false);
    progress.setAutoReset(false);
    ProgressDialogSink sink(progress);
    progress.show();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    for (int i = 0; i < count; ++i) {
        if (count > 1)
            progress.setLabelText(tr("Please wait... (%1 of %2)").arg(i + 1).arg(count));
        progress.setValue(0);
        QCoreApplication::processEvents();
        try {
            if (sink.wasCancelled())
                throw std::runtime_error("cancelled");
            step(i, &sink, sink.cancelFlag());
        } catch (const std::exception& e) {
            // The first failure ends the loop; what is done stays done.
            outcome.cancelled = sink.wasCancelled();
            if (!outcome.cancelled)
                outcome.error = QString::fromUtf8(e.what());
            break;
        }
        ++outcome.done;
    }
    QApplication::restoreOverrideCursor();
    progress.hide();
    return outcome;
}

bool OpenStudyDialog::exportStudies(const QVariantList& ids, const QString& folder)
{
    const LoopOutcome outcome
        = runLoop(ids.size(), [&](int i, ProgressSink* sink, const CancelFlag* cancel) {
              const int id = ids[i].toInt();
              if (m_repository.exportStudy(id, folder, sink, cancel).isEmpty())
                  throw std::runtime_error(
                      tr("Study %1 is no longer in the local store").arg(id).toStdString());
          });
    if (!outcome.error.isEmpty())
        QMessageBox::critical(this, tr("Error"),
            tr("Error while exporting: %1\n\nPlease check available disk space.")
                .arg(outcome.error));
    else if (outcome.cancelled)
        QMessageBox::information(this, tr("Information"),
            tr("Export cancelled: %1 of %2 studies were exported.")
                .arg(outcome.done)
                .arg(ids.size()));
    return outcome.done == ids.size();
}

void OpenStudyDialog::on_btnShareExport_clicked()
{
    const QVariantList ids = selectedKeys(m_ui->treeStudies);
    const QString folder = sharedFolder();
    if (ids.isEmpty() || !checkSharedFolder(folder, true))
        return;
    exportStudies(ids, folder);
    fillSharedTree();
}

void OpenStudyDialog::on_btnShareImport_clicked()
{
    const QVariantList files = selectedKeys(m_ui->treeSharedStudies);
    const QString folder = sharedFolder();
    if (files.isEmpty() || !checkSharedFolder(folder, false))
        return;
    QVariantList imported;
    const LoopOutcome outcome
        = runLoop(files.size(), [&](int i, ProgressSink* sink, const CancelFlag* cancel) {
              const QString path = QString("%1/%2").arg(folder, files[i].toString());
              imported << m_repository.importStudy(path, sink, cancel);
          });
    fillLocalTree(imported);
    if (!outcome.error.isEmpty())
        QMessageBox::critical(this, tr("Error"),
            tr("Error while importing: %1\n\nPlease check available disk space.")
                .arg(outcome.error));
    else if (outcome.cancelled)
        QMessageBox::information(this, tr("Information"),
            tr("Import cancelled: %1 of %2 studies were imported.")
                .arg(outcome.done)
                .arg(files.size()));
}

void OpenStudyDialog::on_btnSend_clicked()
{
    const QVariantList ids = selectedKeys(m_ui->treeStudies);
    if (ids.isEmpty())
        return;
    const QString program = Uploader::command(QSettings());
    if (program.isEmpty()) {
        QMessageBox::information(this, tr("Information"),
            tr("No uploader program is configured on this workstation, so nothing was sent.\n"
               "The setting %1 names the program that sends studies to Veltrona.")
                .arg(Uploader::CommandSetting));
        return;
    }
    if (QMessageBox::question(this, tr("Confirm"), tr("Send selected studies to Veltrona?"),
            QMessageBox::Yes | QMessageBox::No)
        != QMessageBox::Yes)
        return;
    if (Uploader::isRunning()) {
        QMessageBox::information(
            this, tr("Information"), tr("Veltrona Uploader is running, please close it first."));
        return;
    }
    const QString upload = QString("%1/upload").arg(m_repository.rootPath());
    if (!QDir().mkpath(upload)) {
        QMessageBox::critical(this, tr("Error"),
            tr("Cannot create the folder %1").arg(QDir::toNativeSeparators(upload)));
        return;
    }
    if (!exportStudies(ids, upload))
        return;
    if (!m_desktop.startDetached(program, { upload }))
        QMessageBox::critical(this, tr("Error"),
            tr("The uploader %1 could not be started.").arg(QDir::toNativeSeparators(program)));
}
