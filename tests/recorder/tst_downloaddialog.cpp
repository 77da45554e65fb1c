#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "recorder/downloaddialog.h"
#include "store/ecgfile.h"
#include "tests/recorder/ishnetestfile.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace rectest;

namespace {

const QString kFailed = "Could not complete download.\nPlease check available disk space.";
const QDateTime kStart(QDate(2026, 11, 20), QTime(9, 30));

template <typename T> T* child(QWidget& w, const char* name)
{
    T* found = w.findChild<T*>(name);
    EXPECT_NE(found, nullptr) << name;
    return found;
}

// Types like a user (QTest::keyClicks takes ASCII only), so that textEdited fires.
void type(QWidget* editor, const QString& text)
{
    for (const QChar c : text)
        QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(c), Qt::NoModifier);
}

// A dialog on a card in a temporary folder that stands in for the card's volume.
struct DownloadFixture
{
    testsupport::FailingIo io;
    RepoFixture store { &io };
    testsupport::TempRoot volume;
    std::shared_ptr<QStringList> roots = std::make_shared<QStringList>();
    std::unique_ptr<DownloadDialog> dialog;

    // Writes HECG.VTF (and HECG.INF) on the volume and opens the dialog, which finds them.
    void open(const QByteArray& card)
    {
        writeCard(volume, card);
        start();
    }
    // The dialog already open goes on searching until the volume shows up.
    void start()
    {
        testsupport::writeAll(volume.file("HECG.INF"), "recorder settings");
        *roots << volume.path();
        if (!dialog) {
            dialog = std::make_unique<DownloadDialog>(
                *store.repo, nullptr, std::make_unique<FixedVolumes>(roots));
            dialog->show();
        }
        ASSERT_TRUE(QTest::qWaitFor([&] { return !dialog->folder().isEmpty(); }, 3000));
    }
    template <typename T> T* w(const char* name) { return child<T>(*dialog, name); }
    QString message() { return w<QLabel>("lblMessage")->text(); }
    void fill(const QString& last = "Núñez", const QString& first = "José")
    {
        type(w<QLineEdit>("txtLastName"), last);
        type(w<QLineEdit>("txtFirstName"), first);
        w<QLineEdit>("txtPersonIdNumber")->setText("30111222");
        w<QLineEdit>("txtMedicalHistoryNumber")->setText("HC-9");
        w<QDateTimeEdit>("studyDateTime")->setDateTime(kStart);
    }
    bool yellow(const char* name) { return w<QWidget>(name)->styleSheet().contains("lightyellow"); }
};

// Answers every message box that comes up with `answer`, and remembers title and text.
struct BoxAnswerer
{
    QStringList seen;
    QTimer timer;
    std::string text() const { return seen.join("\n").toStdString(); }
    explicit BoxAnswerer(QMessageBox::StandardButton answer)
    {
        QObject::connect(&timer, &QTimer::timeout, [this, answer] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                seen << box->windowTitle() + ": " + box->text();
                QAbstractButton* b = box->button(answer);
                (b ? b : box->buttons().value(0))->click();
            }
        });
        timer.start(5);
    }
};

// Runs `hook` once, when the copy has reached `block`.
void atBlock(QProgressBar* bar, int block, std::function<void()> hook)
{
    QObject::connect(bar, &QProgressBar::valueChanged, bar, [=](int v) mutable {
        if (v == block && hook)
            std::exchange(hook, nullptr)();
    });
}

CardImportOptions sameAsForm()
{
    CardImportOptions o;
    o.patient.lastName = "Núñez";
    o.patient.firstName = "José";
    o.patient.idNumber = "30111222";
    o.patient.historyNumber = "HC-9";
    o.patient.start = kStart;
    o.leads = QStringList { "I", "aVF", "V6" };
    o.invert = { false, true, false };
    return o;
}

// Every file of a store root, by name, the study document unpacked, and the study's id (drawn
// at random) blanked out.
QMap<QString, QByteArray> storeFiles(const RepoFixture& s, int id)
{
    QMap<QString, QByteArray> files;
    for (const QString& name : QDir(s.root.path()).entryList(QDir::Files)) {
        QByteArray bytes = testsupport::readAll(s.path(name));
        if (bytes.startsWith("VTSTUDY2"))
            bytes = qUncompress(bytes.mid(8));
        // The sample file's header is zero-padded text: the id only in its text, so that ids
        // of other lengths and digits inside the samples don't count.
        const int textEnd = name.endsWith(".vtecg") ? bytes.indexOf('\0') : bytes.size();
        const QByteArray text = bytes.left(textEnd).replace(QByteArray::number(id), "ID");
        files[name] = text + '|' + bytes.mid(name.endsWith(".vtecg") ? EcgFile::kHeaderSize : textEnd);
    }
    return files;
}

} // namespace

TEST(DownloadDialog, FormCheckColoursTheMissingFieldsAndGatesDownload)
{
    DownloadFixture f;
    f.open(cardPreamble(512) + cardBlocks(16));
    EXPECT_EQ(f.message(), QString("Enter study information and press <Download>"));
    EXPECT_FALSE(f.w<QPushButton>("btnSelectFile")->isEnabled());
    EXPECT_EQ(f.w<QLineEdit>("txtDuration")->text(), QString("00 hs. 01 min.")); // 64 s
    struct Row
    {
        QString last, first;
        QDateTime start;
        bool lastYellow, firstYellow, dateYellow;
    };
    const QDateTime lastRefused(QDate(2000, 12, 31), QTime(23, 59));
    const Row rows[] = { { "", "", lastRefused, true, true, true },
        { "  ", "Ana", kStart, true, false, false }, { "Lopez", " ", kStart, false, true, false },
        { "Lopez", "Ana", lastRefused, false, false, true },
        { "Lopez", "Ana", kStart, false, false, false } };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.last.toStdString() + "|" + r.first.toStdString());
        f.w<QLineEdit>("txtLastName")->clear();
        f.w<QLineEdit>("txtFirstName")->clear();
        f.w<QDateTimeEdit>("studyDateTime")->setDateTime(r.start);
        f.fill(r.last, r.first);
        f.w<QDateTimeEdit>("studyDateTime")->setDateTime(r.start);
        EXPECT_EQ(f.yellow("txtLastName"), r.lastYellow);
        EXPECT_EQ(f.yellow("txtFirstName"), r.firstYellow);
        EXPECT_EQ(f.yellow("studyDateTime"), r.dateYellow);
        EXPECT_EQ(f.w<QPushButton>("btnDownload")->isEnabled(),
            !r.lastYellow && !r.firstYellow && !r.dateYellow);
    }
}

TEST(DownloadDialog, LimitItemsFollowTheCardsLength)
{
    struct Row
    {
        qint64 blocks;
        const char* duration;
        QStringList items;
    };
    const Row rows[] = { { 23 * 900 + 885, "23 hs. 59 min.", { "<All>" } },
        { 24 * 900, "24 hs. 00 min.", { "<All>", "24 hs." } },
        { 48 * 900 + 10, "48 hs. 00 min.", { "<All>", "24 hs.", "48 hs." } } };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.duration);
        DownloadFixture f;
        // Real blocks where the offset is searched, a sparse file beyond.
        writeCard(f.volume, cardPreamble(512) + cardBlocks(16));
        ASSERT_TRUE(QFile::resize(f.volume.file("HECG.VTF"), 512 + r.blocks * kCardBlock));
        f.start();
        EXPECT_EQ(f.w<QLineEdit>("txtDuration")->text(), QString(r.duration));
        auto* limit = f.w<QComboBox>("cboDownloadLimit");
        QStringList items;
        for (int i = 0; i < limit->count(); ++i)
            items << limit->itemText(i);
        EXPECT_EQ(items, r.items);
    }
}

// The dialog's study is the one the command line makes from the same card, file for file; a
// second click or Return during the copy starts nothing; "No" keeps the card.
TEST(DownloadDialog, CopyMakesTheSameStudyAsImportCard)
{
    std::vector<quint16> statuses(20, 0xC000);
    statuses[3] = 0xC001; // patient event
    statuses[7] = 0xC002; // low battery
    statuses[8] = 0xC010; // an electrode off
    // A torn block at the end is left behind without a word.
    const QByteArray card = cardPreamble(512) + cardBlocks(20, statuses) + QByteArray(5000, '\1');
    DownloadFixture f;
    f.open(card);
    f.fill();
    f.w<QComboBox>("cboLead1")->setCurrentText("I");
    f.w<QComboBox>("cboLead2")->setCurrentText("aVF");
    f.w<QComboBox>("cboLead3")->setCurrentText("V6");
    f.w<QCheckBox>("chkInvert2")->setChecked(true);
    QSignalSpy downloaded(f.dialog.get(), &DownloadDialog::downloaded);

    auto* bar = f.w<QProgressBar>("barDownloadProgress");
    EXPECT_FALSE(bar->isVisible());
    QString during;
    atBlock(bar, 5, [&] {
        during = f.message();
        EXPECT_EQ(bar->maximum(), 20);
        EXPECT_FALSE(f.w<QPushButton>("btnDownload")->isEnabled());
        f.w<QPushButton>("btnDownload")->click();
        QTest::keyClick(f.dialog.get(), Qt::Key_Return);
        QMetaObject::invokeMethod(f.dialog.get(), "on_btnDownload_clicked");
    });
    BoxAnswerer answers(QMessageBox::No);
    QTest::mouseClick(f.w<QPushButton>("btnDownload"), Qt::LeftButton);

    EXPECT_EQ(during, QString("Downloading..."));
    EXPECT_EQ(answers.text(), "Confirm: Study has been downloaded. Delete from memory card?");
    ASSERT_EQ(downloaded.count(), 1);
    EXPECT_EQ(f.dialog->result(), QDialog::Accepted);
    EXPECT_FALSE(f.dialog->isVisible());
    EXPECT_EQ(f.store.repo->listStudies().size(), 1);
    EXPECT_EQ(testsupport::readAll(f.volume.file("HECG.VTF")), card);

    Study* study = f.store.repo->openStudy(downloaded.at(0).at(0).toInt());
    ASSERT_NE(study, nullptr);
    EXPECT_EQ(study->signal()->sampleCount(), 20 * 2000);
    QStringList events;
    for (int i = 0; i < study->events().count(); ++i)
        events << QString("%1 %2")
                      .arg(study->events().at(i).position)
                      .arg(QString::fromUtf8(study->events().at(i).description));
    EXPECT_EQ(events,
        QStringList({ "12 Patient event", "28 Low battery", "32 Disconnected electrodes" }));
    f.store.repo->closeStudy(study);

    RepoFixture reference;
    const int referenceId
        = importCard(*reference.repo, f.volume.file("HECG.VTF"), 512, sameAsForm());
    const auto ours = storeFiles(f.store, downloaded.at(0).at(0).toInt());
    const auto theirs = storeFiles(reference, referenceId);
    EXPECT_EQ(ours.keys(), theirs.keys());
    EXPECT_EQ(ours.size(), 3); // study, samples, beats
    for (const QString& name : ours.keys())
        EXPECT_TRUE(ours[name] == theirs[name]) << name.toStdString();
    // The document was unpacked: the comparison saw the events.
    EXPECT_TRUE(ours.last().contains("Disconnected electrodes")) << ours.lastKey().toStdString();
}

// Cancel, a card pulled out, a full disk: a clear message, the store as it was, the card as it
// was, and no study announced.
TEST(DownloadDialog, FailedCopiesLeaveNothingBehind)
{
    const QString kCardLost = "Could not complete download.\nThe memory card could not be read "
                              "to the end: check that it is still in its reader.";
    const QByteArray card = cardPreamble(512) + cardBlocks(30);
    struct Row
    {
        const char* what;
        std::function<void(DownloadFixture&)> atBlock7;
        qint64 diskBudget;
        QString expected;
        bool cardKept = true;
    };
    const Row rows[] = {
        { "cancel",
            [](DownloadFixture& f) {
                f.w<QDialogButtonBox>("buttonBox")->button(QDialogButtonBox::Cancel)->click();
            },
            -1, kFailed },
        { "escape", [](DownloadFixture& f) { QTest::keyClick(f.dialog.get(), Qt::Key_Escape); }, -1,
            kFailed },
        { "card pulled",
            [](DownloadFixture& f) {
                ASSERT_TRUE(QFile::resize(f.volume.file("HECG.VTF"), 512 + 3 * kCardBlock));
            },
            -1, kCardLost, false },
        { "disk full", nullptr, 150000, kFailed },
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        DownloadFixture f;
        f.open(card);
        f.fill();
        f.io.setBudget(r.diskBudget);
        QSignalSpy downloaded(f.dialog.get(), &DownloadDialog::downloaded);
        if (r.atBlock7)
            atBlock(f.w<QProgressBar>("barDownloadProgress"), 7, [&] { r.atBlock7(f); });
        BoxAnswerer answers(QMessageBox::Ok);
        f.w<QPushButton>("btnDownload")->click();
        EXPECT_EQ(answers.text(), ("Error: " + r.expected).toStdString());
        EXPECT_EQ(downloaded.count(), 0);
        EXPECT_FALSE(f.dialog->isVisible());
        EXPECT_TRUE(f.store.isEmpty());
        if (r.cardKept) {
            EXPECT_EQ(testsupport::readAll(f.volume.file("HECG.VTF")), card);
        }
        EXPECT_TRUE(QFile::exists(f.volume.file("HECG.INF")));
    }
}

// "Yes" deletes the data file and its companion, on a card found by the search or on a file
// chosen by hand; "No" keeps both.
TEST(DownloadDialog, CardFilesAreDeletedOnlyOnYes)
{
    for (const bool byHand : { false, true }) {
        for (const auto answer : { QMessageBox::Yes, QMessageBox::No }) {
            SCOPED_TRACE(std::string(byHand ? "chosen by hand, " : "found, ")
                + (answer == QMessageBox::Yes ? "yes" : "no"));
            DownloadFixture f;
            testsupport::TempRoot disk;
            if (byHand) {
                writeCard(disk, cardPreamble(512) + cardBlocks(16));
                testsupport::writeAll(disk.file("HECG.INF"), "x");
                f.open(cardBlocks(0)); // an empty "card": found, but nothing to show
                f.dialog->setFileChooser([&](QWidget*) { return disk.file("HECG.VTF"); });
                f.w<QPushButton>("btnSelectFile")->click();
            } else {
                f.open(cardPreamble(512) + cardBlocks(16));
            }
            const testsupport::TempRoot& where = byHand ? disk : f.volume;
            f.fill();
            BoxAnswerer answers(answer);
            f.w<QPushButton>("btnDownload")->click();
            ASSERT_EQ(f.store.repo->listStudies().size(), 1);
            const bool kept = answer == QMessageBox::No;
            EXPECT_EQ(QFile::exists(where.file("HECG.VTF")), kept);
            EXPECT_EQ(QFile::exists(where.file("HECG.INF")), kept);
        }
    }
}

// The search goes on every 200 ms until a card shows up; a damaged card says why and can't be
// downloaded; giving up on "Select file..." goes back to searching.
TEST(DownloadDialog, SearchWaitsForACardAndRefusesADamagedOne)
{
    DownloadFixture f;
    f.dialog = std::make_unique<DownloadDialog>(
        *f.store.repo, nullptr, std::make_unique<FixedVolumes>(f.roots));
    f.dialog->show();
    QTest::qWait(3 * DownloadDialog::kSearchIntervalMs);
    EXPECT_EQ(f.message(), QString("Please insert memory card or select file to download..."));

    f.open(cardPreamble(511) + cardBlocks(16)); // odd preamble: no block boundary lines up
    EXPECT_EQ(f.message(),
        QString("File in memory card %1 may be corrupted.\nPlease contact technical support.")
            .arg(QDir::toNativeSeparators(f.volume.file("HECG.VTF"))));
    f.fill();
    EXPECT_FALSE(f.w<QPushButton>("btnDownload")->isEnabled());

    testsupport::TempRoot good;
    writeCard(good, cardPreamble(1000) + cardBlocks(16));
    *f.roots = QStringList { good.path() };
    f.dialog->setFileChooser([](QWidget*) { return QString(); });
    f.w<QPushButton>("btnSelectFile")->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return f.dialog->folder().startsWith(good.path()); }, 3000));
    EXPECT_EQ(f.message(), QString("Enter study information and press <Download>"));
    EXPECT_TRUE(f.w<QPushButton>("btnDownload")->isEnabled());
}

// "Import file..." takes another maker's recording: what the user typed wins over the file's
// header, and a file that is not a recording, or a damaged one, leaves the dialog open and the
// store empty.
TEST(DownloadDialog, ImportFileMakesAStudyFromAnotherRecordersFile)
{
    struct Row
    {
        const char* name;
        QByteArray bytes;
        QString typedLastName;
        QString expectedLastName; // empty: no study, an error box
        QString error;
    };
    IshneTestFile good;
    IshneTestFile broken;
    broken.breakChecksum = true;
    const QList<Row> rows {
        { "holter.ecg", good.bytes(), QString(), "Ruiz", QString() },
        { "typed.ecg", good.bytes(), "Paz", "Paz", QString() },
        { "notes.txt", "just some notes", QString(), QString(), "is not a recording" },
        { "damaged.ecg", broken.bytes(), QString(), QString(), "Error: " },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        DownloadFixture f;
        f.dialog = std::make_unique<DownloadDialog>(
            *f.store.repo, nullptr, std::make_unique<FixedVolumes>(f.roots));
        f.dialog->show();
        const QString path = f.volume.file(row.name);
        testsupport::writeAll(path, row.bytes);
        f.dialog->setRecordingChooser([path](QWidget*) { return path; });
        if (!row.typedLastName.isEmpty())
            type(f.w<QLineEdit>("txtLastName"), row.typedLastName);
        QSignalSpy downloaded(f.dialog.get(), &DownloadDialog::downloaded);
        BoxAnswerer answers(QMessageBox::Ok);
        QTest::mouseClick(f.w<QPushButton>("btnImportFile"), Qt::LeftButton);

        const QList<StudyInfo> studies = f.store.repo->listStudies();
        if (row.expectedLastName.isEmpty()) {
            EXPECT_TRUE(studies.isEmpty());
            EXPECT_EQ(downloaded.count(), 0);
            EXPECT_TRUE(f.dialog->isVisible()) << "stays open for another try";
            EXPECT_TRUE(f.w<QPushButton>("btnImportFile")->isEnabled());
            EXPECT_NE(answers.text().find(row.error.toStdString()), std::string::npos)
                << answers.text();
        } else {
            EXPECT_TRUE(answers.seen.isEmpty()) << answers.text();
            ASSERT_EQ(studies.size(), 1);
            ASSERT_EQ(downloaded.count(), 1);
            EXPECT_EQ(downloaded[0][0].toInt(), studies[0].id);
            EXPECT_EQ(QString::fromUtf8(studies[0].patientLastName), row.expectedLastName);
            EXPECT_EQ(studies[0].patientFirstName, QByteArray("Ana")) << "from the header";
            EXPECT_EQ(f.dialog->result(), QDialog::Accepted);
        }
    }
}
