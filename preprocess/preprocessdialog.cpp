#include "preprocess/preprocessdialog.h"

#include "ui_preprocessdialog.h"

#include "analysis/blockfilter.h"
#include "analysis/displayfilterchain.h"
#include "analysis/filteredsource.h"
#include "review/qsignalbrowsedisplay.h"
#include "store/beat.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "workflow/settingskeys.h"
#include "workflow/settingsreader.h"
#include "workflow/studysignalrewrite.h"

#include <QApplication>
#include <QDateTime>
#include <QLocale>
#include <QMessageBox>
#include <QProgressDialog>
#include <QSettings>

#include <exception>
#include <vector>

namespace {

const char* const kLeadNames[]
    = { "II", "III", "aVR", "aVL", "aVF", "V1", "V2", "V3", "V4", "V5", "V6" };
constexpr int kChannelBoxes = 3;

// Feeds the "Saving..." bar and lets the event loop run between blocks, so that its cancel
// button (and Escape on the dialog) can reach the save.
class ProgressBarSink : public ProgressSink
{
public:
    explicit ProgressBarSink(QProgressDialog& bar)
        : m_bar(bar)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        if (m_bar.maximum() != int(total))
            m_bar.setMaximum(int(total));
        m_bar.setValue(int(position));
        QCoreApplication::processEvents();
    }

private:
    QProgressDialog& m_bar;
};

} // namespace

PreprocessDialog::PreprocessDialog(
    StudyRepository& repository, Study* study, bool afterDownload, QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::PreprocessDialog>())
    , m_repository(repository)
    , m_study(study)
    , m_afterDownload(afterDownload)
{
    ui->setupUi(this);
    const Study& s = *m_study;
    const QDateTime date = QDateTime::fromString(
        QString::fromLatin1(s.studyDateTime()), QStringLiteral("yyyyMMddHHmmss"));
    setWindowTitle(tr("Process study: %1, %2 - %3")
                       .arg(QLocale().toString(date, QStringLiteral("dd/MM/yyyy HH:mm")),
                           QString::fromUtf8(s.property("patient/firstName")),
                           QString::fromUtf8(s.property("patient/lastName"))));

    ui->lblNote->setText(tr("The study was downloaded and is ready to be processed. Closing this "
                            "window leaves it unprocessed until it is opened again."));
    ui->lblNote->setVisible(m_afterDownload);

    // Normal beats are always allowed: the box only shows it.
    ui->chkAllowTypeN->setChecked(true);
    ui->chkAllowTypeN->setEnabled(false);

    {
        const QSignalBlocker block(ui->cboTrim);
        ui->cboTrim->addItems({ tr("<No change>"), tr("24 hs."), tr("48 hs.") });
    }
    ui->lblTrimInfo->hide();
    fillLeadBoxes();
    loadSettings();

    QSignalBrowseDisplay* display = ui->graphicEcg;
    display->setSpeed(25.0);
    display->setAmplitude(10.0);
    const QDateTime start = QDateTime::fromString(
        QString::fromLatin1(s.recordingDateTime()), QStringLiteral("yyyyMMddHHmmss"));
    display->setStartDateTime(start.isValid() ? start : date);
    rebuildView();
    ui->btnApply->setFocus();
}

PreprocessDialog::~PreprocessDialog()
{
    dropView();
}

QSignalBrowseDisplay* PreprocessDialog::view() const
{
    return ui->graphicEcg;
}

int PreprocessDialog::channelCount() const
{
    const SignalSource* source = m_study->signal();
    return source ? std::min(source->channelCount(), kChannelBoxes) : 0;
}

void PreprocessDialog::fillLeadBoxes()
{
    QComboBox* boxes[kChannelBoxes] = { ui->cboLead1, ui->cboLead2, ui->cboLead3 };
    QCheckBox* inverts[kChannelBoxes] = { ui->chkInvert1, ui->chkInvert2, ui->chkInvert3 };
    QLabel* labels[kChannelBoxes] = { ui->lblLead1, ui->lblLead2, ui->lblLead3 };
    const SignalSource* source = m_study->signal();
    for (int c = 0; c < kChannelBoxes; ++c) {
        const bool present = c < channelCount();
        boxes[c]->setVisible(present);
        inverts[c]->setVisible(present);
        labels[c]->setVisible(present);
        if (!present)
            continue;
        const QByteArray name = source->channel(c)->name();
        m_presentNames << name;
        const QSignalBlocker block(boxes[c]);
        // The present name first; the standard leads after it, once each.
        const QString current = QString::fromLocal8Bit(name);
        boxes[c]->addItem(current);
        for (const char* lead : kLeadNames)
            if (current != QLatin1String(lead))
                boxes[c]->addItem(QString::fromLatin1(lead));
        boxes[c]->setCurrentIndex(0);
    }
}

void PreprocessDialog::loadSettings()
{
    // The same defaults a run from the command line starts from; a value of the wrong type in
    // the settings store falls back to its default.
    const QSettings settings;
    using namespace SettingsKeys;
    using namespace SettingsReader;
    ui->chkAllowTypeV->setChecked(boolValue(settings, AllowTypeV, true));
    ui->chkAllowTypeF->setChecked(boolValue(settings, AllowTypeF, true));
    ui->chkAllowTypeS->setChecked(boolValue(settings, AllowTypeS, true));
    ui->chkAllowTypeU->setChecked(boolValue(settings, AllowTypeU, true));
    const bool user = boolValue(settings, SVPBUserDefined, false);
    ui->rbtSVPBUser->setChecked(user);
    ui->rbtSVPBAuto->setChecked(!user);
    setUserRuleEnabled(user);
    ui->numSPVBPrematurityPct->setValue(intValue(settings, SVPBPrematurityPct,
        kDefaultSVPBPrematurityPct, ui->numSPVBPrematurityPct->minimum(),
        ui->numSPVBPrematurityPct->maximum()));
    ui->chkSPVBCompensatory->setChecked(boolValue(settings, SVPBCompensatory, false));
}

void PreprocessDialog::setUserRuleEnabled(bool enabled)
{
    ui->lblSPVBPrematurityPct->setEnabled(enabled);
    ui->numSPVBPrematurityPct->setEnabled(enabled);
    ui->chkSPVBCompensatory->setEnabled(enabled);
}

ProcessingOptions PreprocessDialog::options() const
{
    ProcessingOptions o;
    // Not a control of this dialog: the workstation's choice between refined and literal labels.
    o.literalRules = SettingsReader::boolValue(QSettings(), SettingsKeys::LiteralRules, false);
    // The normal box is not read: normal beats are never excluded.
    o.excludeType[BeatV] = !ui->chkAllowTypeV->isChecked();
    o.excludeType[BeatF] = !ui->chkAllowTypeF->isChecked();
    o.excludeType[BeatS] = !ui->chkAllowTypeS->isChecked();
    o.excludeType[BeatU] = !ui->chkAllowTypeU->isChecked();
    if (ui->rbtSVPBUser->isChecked()) {
        o.svpbUserDefined = true;
        o.svpbPrematurityRatio = prematurityRatioOfPercent(ui->numSPVBPrematurityPct->value());
        o.svpbCompensatory = ui->chkSPVBCompensatory->isChecked();
    }
    return o;
}

void PreprocessDialog::dropView()
{
    ui->graphicEcg->setSignal(nullptr);
    m_viewChain.reset();
    m_modifiedSource.reset();
}

void PreprocessDialog::rebuildView()
{
    SignalSource* source = m_study->signal();
    if (!source)
        return;
    const double position = ui->graphicEcg->startTime();
    dropView();
    const bool invert[kChannelBoxes]
        = { ui->chkInvert1->isChecked(), ui->chkInvert2->isChecked(), ui->chkInvert3->isChecked() };
    std::vector<std::unique_ptr<BlockFilter>> filters;
    for (int c = 0; c < channelCount(); ++c)
        filters.push_back(invert[c]
                ? std::make_unique<FirBlockFilter>(std::vector<double> { -1.0 }, 0)
                : nullptr);
    m_modifiedSource = std::make_unique<FilteredSource>(source, std::move(filters));
    const QList<QByteArray> names = chosenNames();
    for (int c = 0; c < names.size(); ++c)
        m_modifiedSource->channel(c)->setName(names[c]);
    m_viewChain = std::make_unique<DisplayFilterChain>(m_modifiedSource.get());
    m_viewChain->configure(true, true, true);
    ui->graphicEcg->setSignal(m_viewChain->output());
    ui->graphicEcg->setStartTime(position);
}

QList<QByteArray> PreprocessDialog::chosenNames() const
{
    const QComboBox* boxes[kChannelBoxes] = { ui->cboLead1, ui->cboLead2, ui->cboLead3 };
    QList<QByteArray> names;
    for (int c = 0; c < channelCount(); ++c)
        names << boxes[c]->currentText().toLocal8Bit();
    return names;
}

void PreprocessDialog::renameChannel(int channel, const QString& text)
{
    SignalSource* source = m_study->signal();
    if (!source || channel >= channelCount())
        return;
    source->channel(channel)->setName(text.toLocal8Bit());
    // The view's filters copied the names when they were built.
    rebuildView();
}

void PreprocessDialog::on_chkInvert1_toggled(bool)
{
    rebuildView();
}

void PreprocessDialog::on_chkInvert2_toggled(bool)
{
    rebuildView();
}

void PreprocessDialog::on_chkInvert3_toggled(bool)
{
    rebuildView();
}

void PreprocessDialog::on_cboLead1_currentTextChanged(const QString& text)
{
    renameChannel(0, text);
}

void PreprocessDialog::on_cboLead2_currentTextChanged(const QString& text)
{
    renameChannel(1, text);
}

void PreprocessDialog::on_cboLead3_currentTextChanged(const QString& text)
{
    renameChannel(2, text);
}

int PreprocessDialog::trimHours() const
{
    if (ui->cboTrim->currentIndex() <= 0)
        return 0;
    // The number at the front of the entry: "24 hs." gives 24.
    const QString text = ui->cboTrim->currentText();
    int digits = 0;
    while (digits < text.size() && text.at(digits).isDigit())
        ++digits;
    return text.left(digits).toInt();
}

bool PreprocessDialog::trimCuts() const
{
    const SignalSource* source = m_study->signal();
    return source && trimHours() > 0 && trimCutsRecording(*source, trimHours());
}

void PreprocessDialog::on_cboTrim_currentIndexChanged(int)
{
    // A cut beyond the end is no error: the recording stays whole, and the user is told so.
    const int hours = trimHours();
    const bool idle = hours > 0 && !trimCuts();
    if (idle)
        ui->lblTrimInfo->setText(
            tr("The recording is not longer than %1 hours: nothing will be trimmed.").arg(hours));
    ui->lblTrimInfo->setVisible(idle);
}

void PreprocessDialog::on_rbtSVPBAuto_toggled(bool checked)
{
    if (checked)
        setUserRuleEnabled(false);
}

void PreprocessDialog::on_rbtSVPBUser_toggled(bool checked)
{
    if (checked)
        setUserRuleEnabled(true);
}

bool PreprocessDialog::signalChanged() const
{
    if (ui->chkInvert1->isChecked() || ui->chkInvert2->isChecked() || ui->chkInvert3->isChecked())
        return true;
    // Against the names at opening: the boxes rename the study's channels as they change.
    if (chosenNames() != m_presentNames)
        return true;
    return trimCuts();
}

void PreprocessDialog::on_btnSave_clicked()
{
    if (trimCuts()) {
        const int answer = QMessageBox::question(this, tr("Warning"),
            tr("All recording in excess of %1 hours will be erased. Proceed?").arg(trimHours()),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        if (answer != QMessageBox::Yes)
            return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_cancelled.store(false);
    QString error;
    if (signalChanged())
        error = saveSignal();
    QApplication::restoreOverrideCursor();
    if (error.isEmpty()) {
        accept();
        return;
    }
    QMessageBox::critical(this, tr("Error"), error);
    QDialog::reject();
}

QString PreprocessDialog::saveSignal()
{
    SignalRewrite rewrite;
    rewrite.channelNames = chosenNames();
    rewrite.trimHours = trimCuts() ? trimHours() : 0;

    QProgressDialog bar(tr("Saving..."), tr("Cancel"), 0, 1, this);
    bar.setWindowModality(Qt::WindowModal);
    bar.setMinimumDuration(0);
    bar.setAutoReset(false);
    bar.setAutoClose(false);
    connect(&bar, &QProgressDialog::canceled, this, &PreprocessDialog::reject);
    bar.show();
    ProgressBarSink sink(bar);

    QString error;
    m_saving = true;
    try {
        rewriteStudySignal(m_repository, *m_study, *m_modifiedSource, rewrite, &sink, &m_cancelled,
            [this] { dropView(); });
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
    }
    m_saving = false;
    return error;
}

void PreprocessDialog::on_btnApply_clicked()
{
    accept();
}

void PreprocessDialog::reject()
{
    if (m_saving) {
        m_cancelled.store(true);
        return;
    }
    QDialog::reject();
}
