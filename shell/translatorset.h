#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class QTranslator;

// The translators of the running application. Each catalog is installed only if it loads: a
// missing or unreadable file is not an error, the texts then simply stay in English.
class TranslatorSet
{
public:
    TranslatorSet();
    TranslatorSet(const TranslatorSet&) = delete;
    TranslatorSet& operator=(const TranslatorSet&) = delete;
    ~TranslatorSet(); // removes what it installed

    // Loads "<folder>/<baseName>.qm" for each name and installs those that loaded. Returns the
    // number installed by this call. Needs a QCoreApplication.
    int install(const QStringList& baseNames, const QString& folder);

    // Base names installed so far, in order.
    QStringList installed() const { return m_names; }

private:
    std::vector<std::unique_ptr<QTranslator>> m_translators;
    QStringList m_names;
};
