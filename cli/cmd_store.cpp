#include "cli/args.h"
#include "cli/commands.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studyrepository.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

int runList(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, {}, {});
    args.expectPositionals(0, 0, "");
    for (const StudyInfo& info : ctx.repository().listStudies()) {
        QString patient = QString::fromUtf8(info.patientLastName);
        if (!info.patientFirstName.isEmpty())
            patient += (patient.isEmpty() ? "" : ", ") + QString::fromUtf8(info.patientFirstName);
        ctx.out() << info.id << '\t' << patient << '\t' << QString::fromUtf8(info.studyDateTime)
                  << '\t' << QString::fromUtf8(info.status) << '\n';
    }
    return 0;
}

int runShow(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, {}, {});
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    OpenedStudy study(ctx, id);
    QJsonObject root;
    root["info"] = studyInfoToJson(ctx.repository().studyInfo(study.get()));
    root["events"] = eventsToJson(study->events());
    ctx.out() << QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Indented));
    return 0;
}

int runDelete(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, {}, {});
    args.expectPositionals(1, 1, "study ID");
    const int id = parseStudyId(args.positionals()[0]);
    StudyRepository& repo = ctx.repository();
    StudyInfo row;
    if (!repo.studyExists(id, row))
        throw std::runtime_error(QString("no study with id %1").arg(id).toStdString());
    repo.deleteStudy(id);
    ctx.out() << "deleted " << id << '\n';
    return 0;
}
