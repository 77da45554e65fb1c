#include "recorder/downloaddialog.h"

#include "analysis/displayfilterchain.h"
#include "analysis/wrappedsource.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "recorder/recordingimport.h"
#include "resources/holterresources.h"
#include "ui_downloaddialog.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <array>
#include <exception>

namespace {

constexpr int kSecondsPerBlock = 4;
const char* const kCompanionFile = "HECG.INF";
const char* const kMissing = "background-color: lightyellow";
const char* const kErrorStyle = "color: #b00020;";

// Moves the bar and lets events through after each block, so that the dialog repaints and
// Cancel is heard during a copy that runs on the main thread.
class BarProgress : public ProgressSink
{
public:
    explicit BarProgress(QProgressBar* bar)
        : m_bar(bar)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        if (m_bar->maximum() != int(total))
            m_bar->setMaximum(int(total));
        m_bar->setValue(int(position));
        QCoreApplication::processEvents();
    }

private:
    QProgressBar* m_bar;
};

// `name` in `folder`, in whatever case the card's file system shows it.
QString fileInFolder(const QString& folder, const QString& name)
{
    const QDir dir(folder);
    const QStringList found = dir.entryList(QDir::Files | QDir::Hidden);
    for (const QString& entry : found)
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return dir.filePath(entry);
    return dir.filePath(name);
}

QString withSeparator(const QString& folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

} // namespace

DownloadDialog::DownloadDialog(
    StudyRepository& repository, QWidget* parent, std::unique_ptr<RemovableVolumes> volumes)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DownloadDialog>())
    , m_repository(repository)
    , m_volumes(volumes ? std::move(volumes) : std::make_unique<SystemRemovableVolumes>())
{
    initHolterResources();
    m_ui->setupUi(this);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    m_ui->barDownloadProgress->hide();
    m_ui->btnDownload->setEnabled(false);

    const std::array<QComboBox*, 3> leads { m_ui->cboLead1, m_ui->cboLead2, m_ui->cboLead3 };
    const std::array<QCheckBox*, 3> inverts { m_ui->chkInvert1, m_ui->chkInvert2,
        m_ui->chkInvert3 };
    const QStringList usual = CardImportOptions().leads;
    for (int c = 0; c < 3; ++c) {
        leads[c]->addItems(cardLeadNames());
        leads[c]->setCurrentIndex(std::max(0, int(cardLeadNames().indexOf(usual.value(c)))));
        connect(leads[c], qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this, c] { renameChannel(c); });
        connect(
            inverts[c], &QCheckBox::toggled, this, [this, c](bool on) { invertChannel(c, on); });
    }

    connect(m_ui->txtLastName, &QLineEdit::textEdited, this, &DownloadDialog::checkForm);
    connect(m_ui->txtFirstName, &QLineEdit::textEdited, this, &DownloadDialog::checkForm);
    connect(m_ui->studyDateTime, &QDateTimeEdit::dateTimeChanged, this, [this](const QDateTime& t) {
        checkForm();
        m_ui->ecgDisplay->setStartDateTime(t);
    });
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &DownloadDialog::reject);

    m_chooseFile = [](QWidget* parent) {
        return QFileDialog::getOpenFileName(parent, tr("Select file to download"), QString(),
            tr("Recorder file (HECG.VTF hecg.vtf);;All files (*)"));
    };

    m_chooseRecording = [](QWidget* parent) {
        return QFileDialog::getOpenFileName(parent, tr("Import recording"), QString(),
            tr("Recordings (*.edf *.EDF *.bdf *.BDF *.ecg *.ECG *.ishne *.hea);;All files (*)"));
    };

    // The editors still missing show in yellow from the start.
    checkForm();
    m_ui->lblMessage->setText(tr("Please insert memory card or select file to download..."));

    m_searchTimer = new QTimer(this);
    m_searchTimer->setSingleShot(true);
    m_searchTimer->setInterval(kSearchIntervalMs);
    connect(m_searchTimer, &QTimer::timeout, this, [this] {
        // A folder is set once a card is shown or while the user picks a file by hand.
        if (m_folder.isEmpty() && !searchCard())
            restartSearch();
    });
    m_searchTimer->start();
}

DownloadDialog::~DownloadDialog()
{
    releasePreview();
}

void DownloadDialog::setFileChooser(FileChooser chooser)
{
    m_chooseFile = std::move(chooser);
}

void DownloadDialog::setRecordingChooser(FileChooser chooser)
{
    m_chooseRecording = std::move(chooser);
}

void DownloadDialog::restartSearch()
{
    if (m_folder.isEmpty())
        m_searchTimer->start();
}

bool DownloadDialog::searchCard()
{
    m_folder.clear();
    const QString root = findCardFolder(*m_volumes);
    if (root.isEmpty()) {
        m_ui->lblMessage->setStyleSheet(QString());
        m_ui->lblMessage->setText(tr("Please insert memory card or select file to download..."));
        return false;
    }
    m_folder = withSeparator(root);
    m_cardFile = CardSignalFile::dataFilePath(m_folder);
    cardFound();
    return true;
}

void DownloadDialog::on_btnSelectFile_clicked()
{
    if (m_copying)
        return;
    // A placeholder folder keeps the search off while the user chooses.
    m_searchTimer->stop();
    m_folder = QStringLiteral("?");
    const QString path = m_chooseFile ? m_chooseFile(this) : QString();
    if (path.isEmpty()) {
        m_folder.clear();
        restartSearch();
        return;
    }
    const QFileInfo chosen(path);
    m_folder = withSeparator(chosen.absolutePath());
    m_cardFile = chosen.absoluteFilePath();
    cardFound();
}

void DownloadDialog::cardFound()
{
    m_ui->lblMessage->setStyleSheet(QString());
    m_ui->lblMessage->setText(tr("Enter study information and press <Download>"));
    m_ui->btnSelectFile->setEnabled(false);
    m_ui->txtLastName->setFocus();
    loadPreview();
    checkForm();
}

void DownloadDialog::loadPreview()
{
    releasePreview();
    try {
        m_dataOffset = CardSignalFile::findDataOffset(m_cardFile);
        m_source = std::make_unique<CardSignalFile>(m_cardFile, m_dataOffset);
    } catch (const std::exception& e) {
        // A damaged or unreadable card: say why, and let the user pick another file.
        m_source.reset();
        m_ui->lblMessage->setStyleSheet(QLatin1String(kErrorStyle));
        m_ui->lblMessage->setText(QString::fromUtf8(e.what()));
        m_ui->btnSelectFile->setEnabled(true);
        m_ui->txtDuration->setText(QStringLiteral("-- hs. -- min."));
        while (m_ui->cboDownloadLimit->count() > 1)
            m_ui->cboDownloadLimit->removeItem(1);
        return;
    }

    const std::array<QCheckBox*, 3> inverts { m_ui->chkInvert1, m_ui->chkInvert2,
        m_ui->chkInvert3 };
    for (int c = 0; c < 3; ++c) {
        renameChannel(c);
        m_source->setInverted(c, inverts[c]->isChecked());
    }
    m_previewFilter = std::make_unique<DisplayFilterChain>(m_source.get());
    configurePreviewFilter();
    m_ui->ecgDisplay->setStartDateTime(m_ui->studyDateTime->dateTime());
    m_ui->ecgDisplay->setStartTime(0.0);

    const int seconds = int(m_source->duration());
    const int hours = seconds / 3600;
    m_ui->txtDuration->setText(
        QString::asprintf("%02d hs. %02d min.", hours, (seconds % 3600) / 60));
    while (m_ui->cboDownloadLimit->count() > 1)
        m_ui->cboDownloadLimit->removeItem(1);
    if (hours >= 24)
        m_ui->cboDownloadLimit->addItem(tr("24 hs."), 24);
    if (hours >= 48)
        m_ui->cboDownloadLimit->addItem(tr("48 hs."), 48);
}

void DownloadDialog::releasePreview()
{
    m_ui->ecgDisplay->setSignal(nullptr);
    m_previewFilter.reset();
    m_source.reset();
}

void DownloadDialog::configurePreviewFilter()
{
    if (!m_previewFilter)
        return;
    m_ui->ecgDisplay->setSignal(nullptr);
    m_previewFilter->configure(true, true, true);
    m_ui->ecgDisplay->setSignal(m_previewFilter->output());
}

void DownloadDialog::renameChannel(int channel)
{
    if (!m_source)
        return;
    const std::array<QComboBox*, 3> leads { m_ui->cboLead1, m_ui->cboLead2, m_ui->cboLead3 };
    const QByteArray name = leads[channel]->currentText().toLatin1();
    m_source->channel(channel)->setName(name);
    // The filters took the names when they were built.
    for (SignalSource* s = m_previewFilter ? m_previewFilter->output() : nullptr;
         s && s != m_source.get();) {
        s->channel(channel)->setName(name);
        auto* wrapper = dynamic_cast<WrappedSource*>(s);
        s = wrapper ? wrapper->wrapped() : nullptr;
    }
    m_ui->ecgDisplay->repaintAll();
}

void DownloadDialog::invertChannel(int channel, bool inverted)
{
    if (!m_source)
        return;
    m_source->setInverted(channel, inverted);
    configurePreviewFilter();
}

bool DownloadDialog::formComplete() const
{
    const QDateTime start = m_ui->studyDateTime->dateTime();
    return !m_ui->txtLastName->text().trimmed().isEmpty()
        && !m_ui->txtFirstName->text().trimmed().isEmpty() && start.isValid()
        && start.date().year() > 2000;
}

void DownloadDialog::checkForm()
{
    const QDateTime start = m_ui->studyDateTime->dateTime();
    const auto mark = [](QWidget* editor, bool ok) {
        editor->setStyleSheet(ok ? QString() : QLatin1String(kMissing));
    };
    mark(m_ui->txtLastName, !m_ui->txtLastName->text().trimmed().isEmpty());
    mark(m_ui->txtFirstName, !m_ui->txtFirstName->text().trimmed().isEmpty());
    mark(m_ui->studyDateTime, start.isValid() && start.date().year() > 2000);
    // Without a readable card there is nothing to copy; during a copy a second one must not
    // start.
    m_ui->btnDownload->setEnabled(formComplete() && m_source && !m_copying);
}

void DownloadDialog::on_btnDownload_clicked()
{
    // Return or a queued click while a copy runs must not start a second one.
    if (m_copying || !m_source || !formComplete())
        return;
    setBusy(true);
    QString message;
    int id = 0;
    try {
        id = copyCard();
    } catch (const std::exception& e) {
        message = QString::fromUtf8(e.what());
        id = 0;
    }
    setBusy(false);

    if (!message.isEmpty()) {
        QMessageBox::critical(this, tr("Error"), message);
    } else if (QMessageBox::question(this, tr("Confirm"),
                   tr("Study has been downloaded. Delete from memory card?"),
                   QMessageBox::Yes | QMessageBox::No)
        == QMessageBox::Yes) {
        deleteCardFiles();
    }

    if (id > 0) {
        accept();
        emit downloaded(id);
    } else {
        QDialog::reject();
    }
}

int DownloadDialog::copyCard()
{
    CardImportOptions options;
    options.patient.lastName = m_ui->txtLastName->text().toUtf8();
    options.patient.firstName = m_ui->txtFirstName->text().toUtf8();
    options.patient.idNumber = m_ui->txtPersonIdNumber->text().toUtf8();
    options.patient.historyNumber = m_ui->txtMedicalHistoryNumber->text().toUtf8();
    options.patient.start = m_ui->studyDateTime->dateTime();
    options.leads = QStringList { m_ui->cboLead1->currentText(), m_ui->cboLead2->currentText(),
        m_ui->cboLead3->currentText() };
    options.invert = { m_ui->chkInvert1->isChecked(), m_ui->chkInvert2->isChecked(),
        m_ui->chkInvert3->isChecked() };
    if (m_ui->cboDownloadLimit->currentIndex() > 0)
        options.limitHours = m_ui->cboDownloadLimit->currentData().toInt();

    qint64 blocks = std::max<qint64>(
        0, (QFileInfo(m_cardFile).size() - m_dataOffset) / CardSignalFile::kBlockBytes);
    if (options.limitHours > 0)
        blocks = std::min<qint64>(blocks, qint64(options.limitHours) * 3600 / kSecondsPerBlock);
    m_ui->lblMessage->setStyleSheet(QString());
    m_ui->lblMessage->setText(tr("Downloading..."));
    m_ui->barDownloadProgress->setRange(0, int(blocks));
    m_ui->barDownloadProgress->setValue(0);
    m_ui->barDownloadProgress->show();

    BarProgress progress(m_ui->barDownloadProgress);
    return importCard(m_repository, m_cardFile, m_dataOffset, options, &progress, &m_cancelled);
}

void DownloadDialog::setBusy(bool busy)
{
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        m_cancelled = false;
    } else {
        QApplication::restoreOverrideCursor();
    }
    m_copying = busy;
    m_ui->btnDownload->setEnabled(!busy && formComplete() && m_source);
    m_ui->btnSelectFile->setEnabled(!busy && !m_source);
    m_ui->btnImportFile->setEnabled(!busy);
    m_ui->grpPatient->setEnabled(!busy);
    m_ui->grpRecording->setEnabled(!busy);
}

void DownloadDialog::on_btnImportFile_clicked()
{
    if (m_copying)
        return;
    const QString path = m_chooseRecording ? m_chooseRecording(this) : QString();
    if (path.isEmpty())
        return;
    if (!isImportableRecording(path)) {
        QMessageBox::critical(this, tr("Error"),
            tr("%1 is not a recording this program can import (EDF, EDF+, BDF, ISHNE or a "
               "WFDB record).")
                .arg(QDir::toNativeSeparators(path)));
        return;
    }
    // What the user typed wins; the file's own header fills what was left empty.
    ImportPatient patient;
    patient.lastName = m_ui->txtLastName->text().trimmed().toUtf8();
    patient.firstName = m_ui->txtFirstName->text().trimmed().toUtf8();
    patient.idNumber = m_ui->txtPersonIdNumber->text().trimmed().toUtf8();
    patient.historyNumber = m_ui->txtMedicalHistoryNumber->text().trimmed().toUtf8();
    const QDateTime start = m_ui->studyDateTime->dateTime();
    if (start.isValid() && start.date().year() > 2000)
        patient.start = start;

    setBusy(true);
    m_ui->lblMessage->setStyleSheet(QString());
    m_ui->lblMessage->setText(tr("Importing %1...").arg(QFileInfo(path).fileName()));
    m_ui->barDownloadProgress->setValue(0);
    m_ui->barDownloadProgress->show();
    BarProgress progress(m_ui->barDownloadProgress);
    QString message;
    int id = 0;
    try {
        id = importRecordingFile(m_repository, path, patient, &progress, &m_cancelled);
    } catch (const std::exception& e) {
        message = QString::fromUtf8(e.what());
    }
    const bool cancelled = m_cancelled;
    setBusy(false);
    m_ui->barDownloadProgress->hide();

    if (id > 0) {
        accept();
        emit downloaded(id);
        return;
    }
    // A cancel has closed the dialog already; anything else leaves it open for another try.
    if (!cancelled) {
        m_ui->lblMessage->setText(tr("The file could not be imported."));
        QMessageBox::critical(this, tr("Error"), message);
    }
}

void DownloadDialog::deleteCardFiles()
{
    // The preview holds the data file open; a card reader may refuse to delete it otherwise.
    releasePreview();
    QFile::remove(m_cardFile);
    QFile::remove(fileInFolder(m_folder, QLatin1String(kCompanionFile)));
}

void DownloadDialog::reject()
{
    m_cancelled = true;
    QDialog::reject();
}
