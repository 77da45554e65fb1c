#include "shell/translatorset.h"

#include <QCoreApplication>
#include <QTranslator>

TranslatorSet::TranslatorSet() = default;

TranslatorSet::~TranslatorSet()
{
    if (QCoreApplication::instance()) {
        for (const auto& translator : m_translators)
            QCoreApplication::removeTranslator(translator.get());
    }
}

int TranslatorSet::install(const QStringList& baseNames, const QString& folder)
{
    int count = 0;
    for (const QString& name : baseNames) {
        auto translator = std::make_unique<QTranslator>();
        if (!translator->load(name, folder))
            continue;
        if (!QCoreApplication::installTranslator(translator.get()))
            continue;
        m_translators.push_back(std::move(translator));
        m_names << name;
        ++count;
    }
    return count;
}
