#include "resources/applicationinfo.h"

#include <QCoreApplication>

void ApplicationInfo::apply()
{
    QCoreApplication::setOrganizationName(QString::fromUtf8(kOrganizationName));
    QCoreApplication::setApplicationName(QString::fromUtf8(kApplicationName));
    QCoreApplication::setApplicationVersion(QString::fromUtf8(kVersion));
}
