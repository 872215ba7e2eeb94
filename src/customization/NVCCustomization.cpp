#include "NVCCustomization.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcCustomization, "com.norvalis.NVCCustomization")

QString NVCCustomization::defaultCustomizationsPath()
{
    // An installed program finds the folder beside its own, whatever the prefix;
    // one run from the build tree has none there and uses the system's.
    if (QCoreApplication::instance()) {
        const QDir installed(QCoreApplication::applicationDirPath() +
                             QStringLiteral("/" QUIVEN_DATA_DIR_FROM_BINARIES "/gui"));
        if (installed.exists())
            return installed.canonicalPath() + u'/';
    }
    return QStringLiteral("/usr/share/quiven/gui/");
}

QString NVCCustomization::customizationFileName()
{
    return QStringLiteral("customization.json");
}

NVCCustomization::NVCCustomization()
    : NVCCustomization(defaultCustomizationsPath())
{}

NVCCustomization::NVCCustomization(const QString &customizationsPath)
    : m_customizationsPath(customizationsPath)
{
    load();
}

void NVCCustomization::load()
{
    const QString path = QDir(m_customizationsPath).filePath(customizationFileName());
    QFile file(path);
    if (!file.exists()) {
        qCDebug(lcCustomization) << "No customization file at" << path << "- using defaults";
        return;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcCustomization) << "Cannot read customization file" << path << ":" << file.errorString();
        return;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!document.isObject()) {
        qCWarning(lcCustomization) << "Ignoring malformed customization file" << path << ":"
                                   << parseError.errorString();
        return;
    }

    const QJsonObject object = document.object();
    auto readBool = [&](const char *key, bool &target) {
        const QJsonValue value = object.value(QLatin1String(key));
        if (value.isBool())
            target = value.toBool();
        else if (!value.isUndefined())
            qCWarning(lcCustomization) << "Ignoring non-boolean" << key << "in" << path;
    };
    readBool("quivenSystemRulesVisible", m_quivenSystemRulesVisible);
    readBool("quivenSystemRulesAvailable", m_quivenSystemRulesAvailable);

    const QJsonValue name = object.value(QLatin1String("applicationName"));
    if (name.isString() && !name.toString().isEmpty())
        m_applicationName = name.toString();
    else if (!name.isUndefined())
        qCWarning(lcCustomization) << "Ignoring invalid applicationName in" << path;

    qCInfo(lcCustomization) << "Customization loaded from" << path
                            << "- system rules visible:" << m_quivenSystemRulesVisible
                            << "available:" << m_quivenSystemRulesAvailable;
}
