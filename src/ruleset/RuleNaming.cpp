#include "RuleLogging.h"
#include "RuleManager.h"

#include <QCoreApplication>
#include <QDir>
#include <pwd.h>
#include <unistd.h>

namespace {

constexpr QLatin1StringView viaSlash(" via /");
constexpr QLatin1StringView viaAny(" via any");
constexpr QLatin1StringView anyVia("any via ");
constexpr QLatin1StringView anyAncestor("any ancestor ");
const QString parentPlaceholder = QStringLiteral("%%PARENTPROCESS%%");

// A process text is a program path, optionally followed by " via " and the
// parent's path (or "any").
struct ProcessSplit
{
    QStringView process;
    QStringView parent; // null when there is no parent part
};

ProcessSplit splitProcessName(QStringView processName)
{
    const qsizetype via = processName.indexOf(viaSlash);
    if (via >= 0)
        return {processName.left(via), processName.mid(via + viaSlash.size() - 1)};
    if (processName.endsWith(viaAny))
        return {processName.chopped(viaAny.size()), QStringView(u"any")};
    return {processName, QStringView()};
}

// The last component of a path, trailing slashes ignored; "/" stays "/".
QStringView lastPathComponent(QStringView path)
{
    qsizetype end = path.size();
    while (end > 0 && path[end - 1] == u'/')
        --end;
    if (end == 0)
        return path.isEmpty() ? path : QStringView(u"/");
    const qsizetype slash = path.left(end).lastIndexOf(u'/');
    return path.mid(slash + 1, end - slash - 1);
}

QString homeOfUser(const QString &user)
{
    if (user.isEmpty())
        return QDir::homePath();
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    QByteArray buffer(size > 0 ? size : 16384, Qt::Uninitialized);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwnam_r(user.toLocal8Bit().constData(), &entry, buffer.data(), size_t(buffer.size()), &found) !=
            0 ||
        !found)
        return QString();
    return QFile::decodeName(found->pw_dir);
}

// "~" and "~user" at the start become the home folder; an unknown user leaves
// the text as it is.
QString expandTilde(QStringView path)
{
    if (!path.startsWith(u'~'))
        return path.toString();
    qsizetype slash = path.indexOf(u'/');
    if (slash < 0)
        slash = path.size();
    const QString home = homeOfUser(path.mid(1, slash - 1).toString());
    if (home.isNull())
        return path.toString();
    return home + path.mid(slash);
}

QString fillParent(const char *format, QStringView parent)
{
    return QCoreApplication::translate("RuleManager", format).replace(parentPlaceholder, parent.toString());
}

// A view, so that composing a group identity allocates only the result.
QStringView orNull(QStringView text)
{
    return text.isNull() ? QStringView(u"(null)") : text;
}

} // namespace

QString RuleManager::applicationStringForRule(const NVCRuleBase &rule, qint64 type)
{
    const ProcessSplit split = splitProcessName(rule.processName());
    QString anyProcess;
    QStringView process = split.process;
    if (process == QLatin1StringView("any")) {
        anyProcess = QCoreApplication::translate("RuleManager", "Any process");
        process = anyProcess;
    }
    if (process.startsWith(anyVia))
        return fillParent("Any process via %%PARENTPROCESS%%", lastPathComponent(process.mid(anyVia.size())));
    if (process.startsWith(anyAncestor))
        return fillParent("Any process with ancestor %%PARENTPROCESS%%",
                          lastPathComponent(process.mid(anyAncestor.size())));
    if (type == 1) {
        return orNull(lastPathComponent(process)) % QLatin1Char(':') % orNull(process) % QLatin1Char(':') %
               orNull(split.parent) % QLatin1Char(':') % orNull(rule.constraint());
    }
    if (type == 0)
        return lastPathComponent(process).toString();
    return process.toString();
}

QString RuleManager::applicationNameForRule(const NVCRuleBase &rule)
{
    return applicationStringForRule(rule, 0);
}

QString RuleManager::applicationGroupIdentityForRule(const NVCRuleBase &rule)
{
    return applicationStringForRule(rule, 1);
}

QString RuleManager::applicationPathForRule(const NVCRuleBase &rule)
{
    qCDebug(lcRuleManagement).noquote()
        << QStringLiteral("%1: Process path %2")
               .arg(QLatin1String("+[RuleManager applicationPathForRule:]"), rule.processName());
    QStringView process = splitProcessName(rule.processName()).process;
    const qsizetype marker = process.indexOf(QLatin1StringView(" (-"));
    if (marker >= 0)
        process = process.left(marker);
    return expandTilde(process);
}

QString RuleManager::applicationParentPathForRule(const NVCRuleBase &rule)
{
    const QStringView parent = splitProcessName(rule.processName()).parent;
    return parent.isNull() ? QString() : expandTilde(parent);
}

QString RuleManager::applicationParentNameForRule(const NVCRuleBase &rule)
{
    const QString parent = applicationParentPathForRule(rule);
    return parent.isNull() ? QString() : lastPathComponent(parent).toString();
}

QString RuleManager::applicationBundlePathForPath(const QString &path)
{
    const QString expanded = expandTilde(splitProcessName(path).process);
    const qsizetype bundle = expanded.indexOf(QLatin1StringView(".app/"));
    return bundle < 0 ? expanded : expanded.left(bundle + 4);
}

QString RuleManager::applicationBundlePathForRule(const NVCRuleBase &rule)
{
    return applicationBundlePathForPath(rule.processName());
}

QString RuleManager::pathForRule(const NVCRuleBase &rule)
{
    if (rule.path() == QLatin1StringView("any"))
        return QCoreApplication::translate("RuleManager", "Any path");
    return rule.path();
}
