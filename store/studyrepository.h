#pragma once

#include "store/progresssink.h"
#include "store/studyinfo.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <functional>
#include <map>
#include <memory>

class Study;
class EcgFile;
class SignalSource;
class StoreIo;

// The data folder, its SQLite index and the table of open studies. The study files are the
// truth; the index is a cache for listing and is rebuilt from them when missing.
// Main thread only.
class StudyRepository
{
public:
    static constexpr qint64 kMinFreeBytes = 524288000; // 500 MB for a new download
    static const QStringList& defaultRiskFactorNames();

    struct Options
    {
        // The store root; empty means GenericDataLocation joined with the folder name.
        QString rootOverride;
        StoreIo* io = nullptr; // not owned; null means the standard writer
        // Free bytes on the store's volume, or -1 when unknown; null means the real query.
        std::function<qint64(const QString& path)> freeSpaceQuery;
    };

    // Throws "SQLite driver not available" or the driver's error when the index can't open.
    explicit StudyRepository(const QString& folderName);
    StudyRepository(const QString& folderName, const Options& options);
    StudyRepository(const StudyRepository&) = delete;
    StudyRepository& operator=(const StudyRepository&) = delete;
    virtual ~StudyRepository();

    // A new study read from the file and everything beside it, owned by the caller; null when
    // the file or its samples are missing or unreadable.
    virtual std::unique_ptr<Study> loadStudyFile(const QString& path);
    virtual void saveStudyFile(Study* study, const QString& path);
    virtual QList<StudyInfo> listStudies();
    // The repository owns the open studies it hands out; closeStudy destroys them.
    virtual Study* createStudy(StudyInfo& info);
    virtual Study* openStudy(int id);
    virtual void saveStudy(Study* study);
    virtual void closeStudy(Study* study);
    virtual void deleteStudy(int id);
    virtual bool isStudyOpen(int id) const;
    virtual StudyInfo studyInfo(const Study* study) const;
    virtual void applyInfo(Study* study, const StudyInfo& info) const;
    // Sample files owned by the caller, e.g. for rewriting a study's samples under a new name.
    virtual std::unique_ptr<EcgFile> createEcgFile(const QByteArray& baseName, const Study* study);
    virtual std::unique_ptr<EcgFile> openEcgFile(const QByteArray& baseName);
    virtual void destroySource(std::unique_ptr<SignalSource> source);
    virtual void removeEcgFile(const QByteArray& baseName);
    virtual void replaceEcgFile(const QByteArray& fromBase, const QByteArray& toBase);
    // Study archives (vtz), in studyrepositoryarchive.cpp. Export writes "<folder>/<base>.vtz"
    // and returns its path, or an empty text when there is no study with that id. Import
    // returns the study's id; it replaces the files of a study that is already here only once
    // the archive's files have all been checked. Both throw StoreError with a ready message.
    virtual QString exportStudy(
        int id, const QString& folder, ProgressSink* sink, const CancelFlag* cancel = nullptr);
    virtual int importStudy(
        const QString& path, ProgressSink* sink, const CancelFlag* cancel = nullptr);
    // False for anything that isn't one of our archives, without a word.
    virtual bool readArchiveInfo(const QString& path, StudyInfo& info);
    // (file name, info) of each archive of ours in the folder, in name order.
    virtual QList<QPair<QString, StudyInfo>> listArchives(const QString& folder);
    virtual QByteArray dataPath() const;
    virtual bool hasFreeSpace() const;

    QString rootPath() const { return m_rootPath; }
    // The writer behind the store's files (null: the standard one), for files reopened beside it.
    StoreIo* io() const { return m_io; }
    QString studyPath(const QByteArray& baseName, const char* extension) const;
    const QStringList& riskFactorNames() const { return m_riskFactorNames; }

    // Internal helper made visible for the list and the tools: the row of `id`, if any.
    bool studyExists(int id, StudyInfo& info) const;

private:
    void openIndex();
    void rebuildIndex();
    void writeRow(const StudyInfo& info, bool insert);
    int newStudyId() const;
    QByteArray newBaseName(const StudyInfo& info) const;
    // Throws when the study, or another under that base name, is open here.
    void refuseIfOpen(int id, const QByteArray& baseName) const;

    QString m_rootPath;
    QString m_connectionName;
    StoreIo* m_io;
    std::function<qint64(const QString&)> m_freeSpaceQuery;
    std::map<int, std::unique_ptr<Study>> m_openStudies;
    QStringList m_riskFactorNames;
};
