#include "shell/openstudydialog.h"

#include "resources/holterresources.h"
#include "shell/studytreeitem.h"
#include "shell/uploader.h"
#include "store/studyrepository.h"
#include "ui_openstudydialog.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMessageBox>
#include <QProcess>
#include <QResizeEvent>
#include <QScreen>
#include <QSet>
#include <QSettings>
#include <QShortcut>
#include <QUrl>

#include <exception>

namespace {

// Folders kept in the history, most recent first.
constexpr int kMaxFolderHistory = 10;

// Width of the empty first column in pixels, and of a patient's name in average characters.
constexpr int kMarkWidth = 20;
constexpr int kPatientChars = 24;
constexpr int kSharedPatientChars = 21; // the shared list is the narrower
// Room beside a column's widest text: cell margins and the header's sort arrow, in pixels.
constexpr int kColumnPadding = 22;

// The width the first `count` columns take.
int columnsWidth(const QTreeWidget* tree, int count)
{
    int width = 0;
    for (int c = 0; c < count; ++c)
        width += tree->columnWidth(c);
    return width;
}

QList<QTreeWidgetItem*> itemsOf(const QTreeWidget* tree)
{
    QList<QTreeWidgetItem*> items;
    items.reserve(tree->topLevelItemCount());
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        items.append(tree->topLevelItem(i));
    return items;
}

} // namespace

OpenStudyDialog::OpenStudyDialog(StudyRepository& repository, QWidget* parent)
    : OpenStudyDialog(repository, Desktop(), parent)
{
}

OpenStudyDialog::OpenStudyDialog(
    StudyRepository& repository, const Desktop& desktop, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::OpenStudyDialog>())
    , m_repository(repository)
    , m_desktop(desktop)
{
    if (!m_desktop.openUrl)
        m_desktop.openUrl = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
    if (!m_desktop.chooseFolder)
        m_desktop.chooseFolder = [](QWidget* p, const QString& title, const QString& start) {
            return QFileDialog::getExistingDirectory(p, title, start);
        };
    if (!m_desktop.startDetached)
        m_desktop.startDetached = [](const QString& program, const QStringList& arguments) {
            return QProcess::startDetached(program, arguments);
        };

    initHolterResources();
    m_ui->setupUi(this);
    m_activeTree = m_ui->treeStudies;
    setupTrees();

    // The pane starts hidden. When the user resizes the dialog, the local list takes two
    // thirds of the change.
    m_ui->splitter->setStretchFactor(0, 2);
    m_ui->splitter->setStretchFactor(1, 1);
    m_ui->paneShared->hide();
    m_ui->frameShareControls->setEnabled(false);
    m_ui->frameSyncButtons->setEnabled(false);
    m_ui->lblShareStatus->hide();

    auto* deleteKey = new QShortcut(QKeySequence::Delete, this);
    connect(deleteKey, &QShortcut::activated, m_ui->actionDelete, &QAction::trigger);

    if (Uploader::command(QSettings()).isEmpty())
        m_ui->btnSend->setToolTip(tr("No uploader program is configured on this workstation."));

    loadFolderHistory();
    fillLocalTree({});
    m_ui->txtFilter->setFocus();
}

OpenStudyDialog::~OpenStudyDialog() = default;

void OpenStudyDialog::setupTrees()
{
    for (QTreeWidget* tree : { m_ui->treeStudies, m_ui->treeSharedStudies }) {
        tree->installEventFilter(this);
        tree->header()->setMinimumSectionSize(kMarkWidth);
        tree->header()->setStretchLastSection(true);
        tree->header()->setSectionsMovable(false);
        // Newest first: the study that was just downloaded or processed is on top.
        tree->sortByColumn(StudyTreeItem::ColumnDate, Qt::DescendingOrder);
    }
    // Widths from the texts the columns hold, in the fonts and the date form of this desktop;
    // the empty last column takes what is left.
    const QFontMetrics fm = m_ui->treeStudies->fontMetrics();
    const QFontMetrics header = m_ui->treeStudies->header()->fontMetrics();
    const auto fit = [&](int column, const QString& widest) {
        const QString title = m_ui->treeStudies->headerItem()->text(column);
        return qMax(fm.horizontalAdvance(widest), header.horizontalAdvance(title)) + kColumnPadding;
    };
    const int widths[] = { kMarkWidth, fm.averageCharWidth() * kPatientChars,
        fit(StudyTreeItem::ColumnType, studyTypeText("Holter")),
        fit(StudyTreeItem::ColumnDate, studyDateText("20281230235959")),
        fit(StudyTreeItem::ColumnReport, tr("Yes")) };
    for (int c = 0; c < StudyTreeItem::ColumnEnd; ++c) {
        m_ui->treeStudies->setColumnWidth(c, widths[c]);
        if (c < m_ui->treeSharedStudies->columnCount())
            m_ui->treeSharedStudies->setColumnWidth(c, widths[c]);
    }
    m_ui->treeSharedStudies->setColumnWidth(
        StudyTreeItem::ColumnPatient, fm.averageCharWidth() * kSharedPatientChars);
}

QString OpenStudyDialog::sharedFolder() const
{
    return m_ui->cboShareFolders->currentText();
}

void OpenStudyDialog::loadFolderHistory()
{
    const QSettings settings;
    QStringList folders = settings.value(FolderListSetting).toStringList();
    folders.removeAll(QString());
    folders.removeDuplicates();
    const QString current = settings.value(DefaultFolderSetting).toString();
    if (!current.isEmpty() && !folders.contains(current))
        folders.prepend(current);
    const QSignalBlocker quiet(m_ui->cboShareFolders);
    m_ui->cboShareFolders->addItems(folders);
    m_ui->cboShareFolders->setCurrentIndex(current.isEmpty() ? -1 : folders.indexOf(current));
}

void OpenStudyDialog::saveFolderHistory() const
{
    QStringList folders;
    for (int i = 0; i < m_ui->cboShareFolders->count(); ++i)
        folders << m_ui->cboShareFolders->itemText(i);
    QSettings settings;
    settings.setValue(FolderListSetting, folders);
    settings.setValue(DefaultFolderSetting, sharedFolder());
}

void OpenStudyDialog::done(int result)
{
    saveFolderHistory();
    QDialog::done(result);
}

void OpenStudyDialog::fillLocalTree(const QVariantList& keep)
{
    QList<StudyInfo> studies;
    try {
        studies = m_repository.listStudies();
    } catch (const std::exception& e) {
        QMessageBox::critical(this, tr("Error"), QString::fromUtf8(e.what()));
    }
    QSet<int> keepIds;
    for (const QVariant& id : keep)
        keepIds.insert(id.toInt());
    QTreeWidget* tree = m_ui->treeStudies;
    {
        // One insertion and one sort for the whole list; the buttons follow once at the end.
        const QSignalBlocker quiet(tree);
        tree->setSortingEnabled(false);
        tree->clear();
        QList<QTreeWidgetItem*> items;
        items.reserve(studies.size());
        const QString yes = tr("Yes");
        for (const StudyInfo& info : studies)
            items.append(StudyTreeItem::forStudy(info, yes));
        tree->addTopLevelItems(items);
        tree->setSortingEnabled(true);
        for (QTreeWidgetItem* item : items)
            if (keepIds.contains(
                    item->data(StudyTreeItem::ColumnMark, StudyTreeItem::KeyRole).toInt()))
                item->setSelected(true);
    }
    QTreeWidgetItem* first = applyFilter(tree);
    // Rows chosen before the refill stay chosen; otherwise the newest study is current.
    const QList<QTreeWidgetItem*> selected = tree->selectedItems();
    if (selected.isEmpty())
        makeCurrent(first);
    else {
        const QSignalBlocker quiet(tree);
        tree->setCurrentItem(selected.first(), 0, QItemSelectionModel::NoUpdate);
        tree->scrollToItem(selected.first());
    }
    updateButtons();
}

void OpenStudyDialog::fillSharedTree()
{
    QTreeWidget* tree = m_ui->treeSharedStudies;
    const QString folder = sharedFolder();
    QList<QPair<QString, StudyInfo>> archives;
    QString status;
    if (folder.isEmpty())
        status = tr("Choose a shared folder with the folder button.");
    else if (!QFileInfo(folder).isDir())
        status
            = tr("The shared folder %1 cannot be reached.").arg(QDir::toNativeSeparators(folder));
    else {
        try {
            archives = m_repository.listArchives(folder);
        } catch (const std::exception& e) {
            status = QString::fromUtf8(e.what());
        }
        if (status.isEmpty() && archives.isEmpty())
            status = tr("There are no studies in this folder.");
    }
    {
        const QSignalBlocker quiet(tree);
        tree->setSortingEnabled(false);
        tree->clear();
        QList<QTreeWidgetItem*> items;
        for (const auto& archive : archives)
            items.append(StudyTreeItem::forArchive(archive.first, archive.second));
        tree->addTopLevelItems(items);
        tree->setSortingEnabled(true);
    }
    m_ui->lblShareStatus->setText(status);
    m_ui->lblShareStatus->setVisible(!status.isEmpty());
    applyFilter(tree);
    updateButtons();
}

void OpenStudyDialog::on_txtFilter_textChanged(const QString&)
{
    makeCurrent(applyFilter(m_ui->treeStudies));
    applyFilter(m_ui->treeSharedStudies);
    updateButtons();
}

QTreeWidgetItem* OpenStudyDialog::applyFilter(QTreeWidget* tree)
{
    const QStringList words = filterWords(m_ui->txtFilter->text());
    QTreeWidgetItem* firstVisible = nullptr;
    const QSignalBlocker quiet(tree);
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        auto* item = static_cast<StudyTreeItem*>(tree->topLevelItem(i));
        const bool hide = !matchesFilter(item->foldedPatient(), words);
        if (item->isHidden() != hide)
            item->setHidden(hide);
        if (hide && item->isSelected())
            item->setSelected(false); // never act on a row the user can't see
        if (!hide && !firstVisible)
            firstVisible = item;
    }
    return firstVisible;
}

void OpenStudyDialog::makeCurrent(QTreeWidgetItem* item)
{
    QTreeWidget* tree = m_ui->treeStudies;
    const QSignalBlocker quiet(tree);
    if (item) {
        tree->setCurrentItem(
            item, 0, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        tree->scrollToItem(item);
    } else {
        tree->clearSelection();
        tree->setCurrentItem(nullptr);
    }
}

void OpenStudyDialog::updateButtons()
{
    const QTreeWidgetItem* current = m_ui->treeStudies->currentItem();
    const bool haveCurrent = current && !current->isHidden();
    const bool localSelection = !m_ui->treeStudies->selectedItems().isEmpty();
    const bool sharedSelection = !m_ui->treeSharedStudies->selectedItems().isEmpty();
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(haveCurrent);
    m_ui->btnReport->setEnabled(
        haveCurrent && current->text(StudyTreeItem::ColumnReport) == tr("Yes"));
    m_ui->btnDelete->setEnabled(!activeTree()->selectedItems().isEmpty());
    m_ui->btnShareExport->setEnabled(m_sharedVisible && localSelection);
    m_ui->btnShareImport->setEnabled(m_sharedVisible && sharedSelection);
    m_ui->btnSend->setEnabled(localSelection);
}

QTreeWidget* OpenStudyDialog::activeTree() const
{
    return m_sharedVisible ? m_activeTree : m_ui->treeStudies;
}

bool OpenStudyDialog::eventFilter(QObject* watched, QEvent* event)
{
    auto* tree = qobject_cast<QTreeWidget*>(watched);
    if (tree && event->type() == QEvent::FocusIn && tree != m_activeTree) {
        m_activeTree = tree;
        updateButtons();
    }
    // Enter in the shared list would otherwise open the local study behind the default button.
    if (tree == m_ui->treeSharedStudies && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            return true;
    }
    return QDialog::eventFilter(watched, event);
}

QVariantList OpenStudyDialog::selectedKeys(const QTreeWidget* tree) const
{
    QVariantList keys;
    for (const QTreeWidgetItem* item : itemsOf(tree))
        if (item->isSelected() && !item->isHidden())
            keys << item->data(StudyTreeItem::ColumnMark, StudyTreeItem::KeyRole);
    return keys;
}

void OpenStudyDialog::on_treeStudies_itemDoubleClicked(QTreeWidgetItem* item, int)
{
    if (!item)
        return;
    m_ui->treeStudies->setCurrentItem(item);
    accept();
}

void OpenStudyDialog::on_treeStudies_currentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)
{
    updateButtons();
}

void OpenStudyDialog::on_treeStudies_itemSelectionChanged()
{
    updateButtons();
}

void OpenStudyDialog::on_treeSharedStudies_currentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)
{
    updateButtons();
}

void OpenStudyDialog::on_treeSharedStudies_itemSelectionChanged()
{
    updateButtons();
}

void OpenStudyDialog::on_OpenStudyDialog_accepted()
{
    const QTreeWidgetItem* current = m_ui->treeStudies->currentItem();
    if (current)
        m_selectedStudyId
            = current->data(StudyTreeItem::ColumnMark, StudyTreeItem::KeyRole).toInt();
}

void OpenStudyDialog::on_btnReport_clicked()
{
    const QTreeWidgetItem* current = m_ui->treeStudies->currentItem();
    if (!current)
        return;
    const int id = current->data(StudyTreeItem::ColumnMark, StudyTreeItem::KeyRole).toInt();
    StudyInfo row;
    if (!m_repository.studyExists(id, row)) {
        QMessageBox::warning(this, tr("Error"), tr("Report file not found"));
        return;
    }
    const QString folder = QString("%1/reports").arg(m_repository.rootPath());
    const QString path = folder + QString("/%1.pdf").arg(QString::fromUtf8(row.baseFilename));
    if (!QFileInfo(path).isFile()) {
        QMessageBox::warning(this, tr("Error"), tr("Report file not found"));
        return;
    }
    if (!m_desktop.openUrl(QUrl::fromLocalFile(path)))
        QMessageBox::warning(this, tr("Error"),
            tr("The report %1 could not be opened: no PDF viewer is set up on this "
               "workstation.")
                .arg(QDir::toNativeSeparators(path)));
}

void OpenStudyDialog::on_actionDelete_triggered()
{
    updateButtons();
    if (m_ui->btnDelete->isEnabled())
        on_btnDelete_clicked();
}

void OpenStudyDialog::on_btnDelete_clicked()
{
    const bool shared = activeTree() == m_ui->treeSharedStudies;
    const QString question = shared ? tr("Delete selected studies from shared folder?")
                                    : tr("Delete selected studies from local folder?");
    if (QMessageBox::question(
            this, tr("Confirm"), question, QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        != QMessageBox::Yes)
        return;
    if (shared)
        deleteSharedFiles();
    else
        deleteLocalStudies();
}

void OpenStudyDialog::deleteLocalStudies()
{
    const QVariantList ids = selectedKeys(m_ui->treeStudies);
    QStringList stillOpen;
    QString error;
    for (const QVariant& key : ids) {
        const int id = key.toInt();
        // The repository leaves an open study alone; so does the list.
        if (m_repository.isStudyOpen(id)) {
            for (const QTreeWidgetItem* item : itemsOf(m_ui->treeStudies))
                if (item->data(StudyTreeItem::ColumnMark, StudyTreeItem::KeyRole) == key)
                    stillOpen << item->text(StudyTreeItem::ColumnPatient);
            continue;
        }
        try {
            m_repository.deleteStudy(id);
        } catch (const std::exception& e) {
            error = QString::fromUtf8(e.what());
            break;
        }
        emit deletedStudy(id);
    }
    fillLocalTree(ids);
    if (!error.isEmpty())
        QMessageBox::critical(this, tr("Error"), error);
    if (!stillOpen.isEmpty())
        QMessageBox::information(this, tr("Information"),
            tr("These studies are open for review and were not deleted:\n%1")
                .arg(stillOpen.join('\n')));
}

void OpenStudyDialog::deleteSharedFiles()
{
    const QString folder = sharedFolder();
    QStringList failed;
    for (const QVariant& key : selectedKeys(m_ui->treeSharedStudies))
        if (!QDir(folder).remove(key.toString()))
            failed << key.toString();
    fillSharedTree();
    if (!failed.isEmpty())
        QMessageBox::warning(this, tr("Warning"),
            tr("These files could not be deleted from the shared folder %1:\n%2")
                .arg(QDir::toNativeSeparators(folder), failed.join('\n')));
}

void OpenStudyDialog::on_btnShare_clicked()
{
    setSharedPaneVisible(!m_sharedVisible);
}

void OpenStudyDialog::setSharedPaneVisible(bool visible)
{
    if (visible == m_sharedVisible)
        return;
    m_sharedVisible = visible;
    const QRect before = geometry();
    m_ui->btnShare->setText(visible ? tr("Hide shared studies") : tr("Show shared studies"));
    m_ui->frameShareControls->setEnabled(visible);
    m_ui->frameSyncButtons->setEnabled(visible);
    m_ui->paneShared->setVisible(visible);
    if (!visible)
        m_activeTree = m_ui->treeStudies;
    // Wider by half and a quarter to the left on show, the reverse on hide: the dialog stays
    // centred where it was.
    const int width = visible ? before.width() * 3 / 2 : before.width() * 2 / 3;
    int x = before.x() - (width - before.width()) / 2;
    if (const QScreen* screen = this->screen())
        x = qMax(x, screen->availableGeometry().left()); // never off the left edge
    m_splitPending = visible;
    setGeometry(x, before.y(), width, before.height());
    if (m_splitPending && this->width() == width)
        splitBetweenLists();
    if (visible)
        fillSharedTree();
    updateButtons();
}

void OpenStudyDialog::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    // A window manager may apply the widening later than it was asked for.
    if (m_splitPending)
        splitBetweenLists();
}

void OpenStudyDialog::splitBetweenLists()
{
    m_splitPending = false;
    // The two lists share the room as their columns need it.
    layout()->activate();
    const int room = m_ui->splitter->width() - m_ui->splitter->handleWidth();
    const int local = columnsWidth(m_ui->treeStudies, StudyTreeItem::ColumnEnd);
    const int shared = columnsWidth(m_ui->treeSharedStudies, StudyTreeItem::ColumnReport)
        + m_ui->frameSyncButtons->sizeHint().width();
    const int left = qBound(m_ui->paneLocal->minimumSizeHint().width(),
        room * local / (local + shared), room - m_ui->paneShared->minimumSizeHint().width());
    m_ui->splitter->setSizes({ left, room - left });
}

void OpenStudyDialog::on_btnShareFolder_clicked()
{
    const QString chosen = m_desktop.chooseFolder(this, tr("Select shared folder"), sharedFolder());
    if (chosen.isEmpty())
        return;
    const QString folder = QDir::cleanPath(chosen);
    QComboBox* combo = m_ui->cboShareFolders;
    const QSignalBlocker quiet(combo);
    const int existing = combo->findText(folder);
    if (existing >= 0)
        combo->removeItem(existing);
    combo->insertItem(0, folder);
    while (combo->count() > kMaxFolderHistory)
        combo->removeItem(combo->count() - 1);
    combo->setCurrentIndex(0);
    fillSharedTree();
}

void OpenStudyDialog::on_cboShareFolders_currentIndexChanged(int)
{
    m_ui->cboShareFolders->setToolTip(QDir::toNativeSeparators(sharedFolder()));
    if (m_sharedVisible)
        fillSharedTree();
}
