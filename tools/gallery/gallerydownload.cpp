#include "tools/gallery/gallerydownload.h"

#include "recorder/downloaddialog.h"
#include "resources/holterresources.h"
#include "store/studyrepository.h"
#include "tools/simulator.h"

#include <QApplication>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <stdexcept>

namespace {

// A day and a half hour, so that the 24-hour limit is offered.
const char* const kScript = R"(hours 24.5
start 2026-11-23 08:40:00
rate 74 58
pvc count 300
button at 3:15:00
)";

// The application's style sheet while the pictures are taken, as the workstation shows it.
class AppStyle
{
public:
    AppStyle()
        : m_previous(qApp->styleSheet())
    {
        initHolterResources();
        QFile css(QStringLiteral(":/styles/dark.css"));
        if (css.open(QIODevice::ReadOnly))
            qApp->setStyleSheet(QString::fromUtf8(css.readAll()));
    }
    ~AppStyle() { qApp->setStyleSheet(m_previous); }

private:
    QString m_previous;
};

void type(QWidget* editor, const QString& text)
{
    for (const QChar c : text)
        QTest::sendKeyEvent(QTest::Click, editor, Qt::Key_unknown, QString(c), Qt::NoModifier);
}

template <typename T> T* child(QWidget& w, const char* name)
{
    T* found = w.findChild<T*>(name);
    if (!found)
        throw std::runtime_error(std::string("the download dialog has no ") + name);
    return found;
}

} // namespace

int writeDownloadPictures(const QString& outDir)
{
    QTemporaryDir temp;
    if (!temp.isValid())
        throw std::runtime_error("cannot make a temporary folder");
    const QString volume = temp.filePath("card");
    std::fprintf(
        stderr, "holter-gallery: simulating a 24.5-hour card for the download dialog...\n");
    Simulator(parseSimulatorScript(QString::fromLatin1(kScript), "download"), 11)
        .writeAll(volume, 512);

    StudyRepository::Options options;
    options.rootOverride = temp.filePath("store");
    StudyRepository repository("VeltronaHolterGallery", options);
    AppStyle style;
    int written = 0;
    const auto save = [&](QWidget& w, const char* name) {
        QApplication::processEvents();
        const QString path = QDir(outDir).filePath(QString::fromLatin1(name) + ".png");
        if (!w.grab().save(path))
            throw std::runtime_error(("cannot write " + path).toStdString());
        std::printf("%s\n", qPrintable(path));
        ++written;
    };

    DownloadDialog dialog(
        repository, nullptr, std::make_unique<FolderVolumes>(QStringList { volume }));
    dialog.show();
    if (!QTest::qWaitFor([&] { return !dialog.folder().isEmpty(); }, 5000))
        throw std::runtime_error("the download dialog did not find the simulated card");
    save(dialog, "download_card_found");

    type(child<QLineEdit>(dialog, "txtLastName"), QStringLiteral("Fernández"));
    save(dialog, "download_form_incomplete");

    type(child<QLineEdit>(dialog, "txtFirstName"), QStringLiteral("María Inés"));
    type(child<QLineEdit>(dialog, "txtPersonIdNumber"), QStringLiteral("27.456.981"));
    type(child<QLineEdit>(dialog, "txtMedicalHistoryNumber"), QStringLiteral("HC-20331"));
    child<QDateTimeEdit>(dialog, "studyDateTime")
        ->setDateTime(QDateTime(QDate(2026, 11, 23), QTime(8, 40)));
    auto* limit = child<QComboBox>(dialog, "cboDownloadLimit");
    limit->setCurrentIndex(limit->count() - 1);
    save(dialog, "download_form_complete");

    // A third of the way through, the picture; then Cancel, and the error box is answered.
    auto* bar = child<QProgressBar>(dialog, "barDownloadProgress");
    bool taken = false;
    QObject::connect(bar, &QProgressBar::valueChanged, &dialog, [&](int value) {
        if (!taken && value >= bar->maximum() / 3) {
            taken = true;
            save(dialog, "download_copy_in_progress");
            dialog.reject();
        }
    });
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->accept();
    });
    answer.start(20);
    child<QPushButton>(dialog, "btnDownload")->click();
    if (!taken)
        throw std::runtime_error("the copy did not start");
    return written;
}
