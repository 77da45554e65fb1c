#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

#include <stdexcept>

// A mistake on the command line: shown with the usage hint, exit code 2.
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

// A command's arguments: "--name value", "--name=value", flags, and positionals. Unknown
// options and missing values are usage errors, so nonsense never passes silently.
class Args
{
public:
    Args(const QStringList& args, const QStringList& valueOptions, const QStringList& flags);

    bool flag(const QString& name) const { return m_flags.contains(name); }
    bool has(const QString& name) const { return m_values.contains(name); }
    QString value(const QString& name, const QString& fallback = QString()) const;
    QStringList values(const QString& name) const { return m_values.values(name); }
    const QStringList& positionals() const { return m_positionals; }

    // Typed readers; a malformed number is a usage error naming the option.
    int intValue(const QString& name, int fallback, int min, int max) const;
    double doubleValue(const QString& name, double fallback, double min, double max) const;
    // Exactly n positionals, or a usage error saying what was expected.
    void expectPositionals(int min, int max, const QString& what) const;

private:
    QMultiMap<QString, QString> m_values;
    QSet<QString> m_flags;
    QStringList m_positionals;
};
