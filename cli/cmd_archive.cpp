#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"
#include "cli/interrupt.h"
#include "store/studyrepository.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool looksLikeArchive(const QString& source)
{
    const QFileInfo fi(source);
    if (!fi.isFile())
        return false;
    if (fi.suffix().compare("vtz", Qt::CaseInsensitive) == 0)
        return true;
    // Any zip, whatever its name: the import itself tells ours from others by the comment.
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray magic = file.read(4);
    return magic == QByteArray("PK\x03\x04", 4) || magic == QByteArray("PK\x05\x06", 4);
}

int importArchive(CliContext& ctx, const QString& path)
{
    CliProgress progress(ctx, "Importing archive");
    const int id = ctx.repository().importStudy(path, &progress, interruptFlag());
    ctx.endProgress();
    return id;
}

int runArchive(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, {}, {});
    args.expectPositionals(2, 2, "study ID and target FOLDER");
    const int id = parseStudyId(args.positionals()[0]);
    const QString folder = args.positionals()[1];
    if (!QFileInfo(folder).isDir())
        throw std::runtime_error(
            QString("%1: no such folder").arg(QDir::toNativeSeparators(folder)).toStdString());
    StudyRepository& repo = ctx.repository();
    StudyInfo row;
    if (!repo.studyExists(id, row))
        throw std::runtime_error(QString("no study with id %1").arg(id).toStdString());
    CliProgress progress(ctx, "Archiving study");
    const QString path
        = repo.exportStudy(id, QDir(folder).absolutePath(), &progress, interruptFlag());
    ctx.endProgress();
    ctx.out() << QDir::toNativeSeparators(path) << '\n';
    return 0;
}
