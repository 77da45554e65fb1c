#pragma once

#include <QString>
#include <QVector>

// Moves a set of finished files onto their places as one step: a file already in a place is
// set aside first, and if any move fails, or the owner calls restore() or goes away without
// commit(), every place gets its old file back. The set-aside copies live in a folder on
// the same volume (renames only, no copies) and are removed by commit().
class StudyFileSwap
{
public:
    // `asideFolder` must exist and lie on the volume of the targets.
    explicit StudyFileSwap(const QString& asideFolder)
        : m_asideFolder(asideFolder)
    {
    }
    ~StudyFileSwap();
    StudyFileSwap(const StudyFileSwap&) = delete;
    StudyFileSwap& operator=(const StudyFileSwap&) = delete;

    // Moves `source` onto `target`; throws StoreError naming the target (after restoring
    // every earlier place) when it can't.
    void place(const QString& source, const QString& target);
    // Keeps the new files and drops the old ones.
    void commit();
    // Puts every old file back and removes the new ones; safe to call more than once.
    void restore();

private:
    struct Move
    {
        QString target;
        QString aside; // empty when the place was free
    };
    QString m_asideFolder;
    QVector<Move> m_moves;
};
