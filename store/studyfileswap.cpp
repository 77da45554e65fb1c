#include "store/studyfileswap.h"

#include "store/storeio.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

StudyFileSwap::~StudyFileSwap()
{
    restore();
}

void StudyFileSwap::place(const QString& source, const QString& target)
{
    Move move { target, QString() };
    if (QFileInfo::exists(target)) {
        move.aside = QString("%1/%2.old").arg(m_asideFolder, QFileInfo(target).fileName());
        QFile::remove(move.aside);
        if (!QFile::rename(target, move.aside)) {
            restore();
            throw StoreError(
                QString("Cannot replace %1").arg(QDir::toNativeSeparators(target)).toStdString());
        }
    }
    m_moves.append(move);
    if (!QFile::rename(source, target)) {
        // The target is free now (or was), so only this move's own file is missing.
        restore();
        throw StoreError(
            QString("Cannot replace %1").arg(QDir::toNativeSeparators(target)).toStdString());
    }
}

void StudyFileSwap::commit()
{
    for (const Move& m : m_moves)
        if (!m.aside.isEmpty())
            QFile::remove(m.aside);
    m_moves.clear();
}

void StudyFileSwap::restore()
{
    for (int i = m_moves.size() - 1; i >= 0; --i) {
        const Move& m = m_moves[i];
        QFile::remove(m.target);
        if (!m.aside.isEmpty())
            QFile::rename(m.aside, m.target);
    }
    m_moves.clear();
}
