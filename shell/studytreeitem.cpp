#include "shell/studytreeitem.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

namespace {
// Only the user-type rows made here take part in the date ordering.
constexpr int kItemType = QTreeWidgetItem::UserType + 1;
constexpr char kDateFormat[] = "yyyyMMddHHmmss";
} // namespace

StudyTreeItem::StudyTreeItem(const QStringList& texts, const StudyInfo& info)
    : QTreeWidgetItem(texts, kItemType)
    , m_foldedPatient(texts.value(ColumnPatient).toCaseFolded())
    , m_rawDate(QString::fromLatin1(info.studyDateTime))
{
}

StudyTreeItem* StudyTreeItem::forStudy(const StudyInfo& info, const QString& reportText)
{
    const bool reported = info.status == "report";
    auto* item = new StudyTreeItem({ QString(), patientText(info), studyTypeText(info.studyType),
                                       QString(), reported ? reportText : QString(), QString() },
        info);
    item->setData(ColumnMark, KeyRole, info.id);
    return item;
}

StudyTreeItem* StudyTreeItem::forArchive(const QString& fileName, const StudyInfo& info)
{
    auto* item = new StudyTreeItem(
        { QString(), patientText(info), studyTypeText(info.studyType), QString() }, info);
    item->setData(ColumnMark, KeyRole, fileName);
    item->setToolTip(ColumnPatient, fileName);
    return item;
}

QVariant StudyTreeItem::data(int column, int role) const
{
    if (column != ColumnDate || role != Qt::DisplayRole)
        return QTreeWidgetItem::data(column, role);
    if (m_dateText.isNull())
        m_dateText = studyDateText(m_rawDate.toLatin1());
    return m_dateText;
}

bool StudyTreeItem::operator<(const QTreeWidgetItem& other) const
{
    const int column = treeWidget() ? treeWidget()->sortColumn() : ColumnDate;
    if (other.type() != kItemType)
        return QTreeWidgetItem::operator<(other);
    const auto& o = static_cast<const StudyTreeItem&>(other);
    if (column == ColumnDate)
        return m_rawDate < o.m_rawDate;
    // Names sort as people read them (accents beside their letters); equal texts by date.
    const int order = QString::localeAwareCompare(text(column), o.text(column));
    return order != 0 ? order < 0 : m_rawDate < o.m_rawDate;
}

QString patientText(const StudyInfo& info)
{
    return QString("%1, %2").arg(
        QString::fromUtf8(info.patientLastName), QString::fromUtf8(info.patientFirstName));
}

QString studyDateText(const QByteArray& studyDateTime)
{
    const QString raw = QString::fromLatin1(studyDateTime);
    const QDateTime when = QDateTime::fromString(raw, kDateFormat);
    return when.isValid() ? QLocale().toString(when, QLocale::ShortFormat) : raw;
}

QString studyTypeText(const QByteArray& studyType)
{
    // The one type the recorder makes, named here so that the catalogs carry it.
    static const char* const known[] = { QT_TRANSLATE_NOOP("OpenStudyDialog", "Holter") };
    Q_UNUSED(known)
    return QCoreApplication::translate("OpenStudyDialog", studyType.constData());
}

QStringList filterWords(const QString& text)
{
    return text.toCaseFolded().simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

bool matchesFilter(const QString& foldedPatient, const QStringList& words)
{
    for (const QString& word : words)
        if (!foldedPatient.contains(word))
            return false;
    return true;
}
