#include "ProductFolders.h"
#include "RuleFileOutput.h"
#include "RuleLogging.h"
#include "RuleManager.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <cerrno>
#include <sys/stat.h>

namespace {

constexpr mode_t kUserConfigurationMode = 0640;

} // namespace

bool RuleManager::writeToFile(const QString &path)
{
    QMutexLocker locker(&m_lock);
    m_lastErrorMessage = QString();
    RuleFileOutput output(path, m_lastErrorMessage);

    // Every user rule is written whatever the table shows; the filtered view is
    // put back exactly afterwards so the table keeps its rows and order. A
    // file that fails to open leaves the view alone.
    const bool wasFiltered = !m_searchString.isNull();
    if (wasFiltered && !output.waitUntilOpen())
        return output.finish();
    RuleViews keptViews;
    std::vector<SortRanks> keptSortRanks;
    QString keptSearchString;
    if (wasFiltered) {
        keptViews = m_views;
        keptSortRanks = m_sortRanks;
        keptSearchString = m_searchString;
        m_searchString = QString();
        rebuildRulesCache();
    }

    for (const WatchRulePtr &rule : std::as_const(m_watchRules)) {
        if (rule && !rule->system)
            output.write(*rule);
    }
    output.writeUserRules(m_views.policies());
    const bool opened = output.finish();

    if (wasFiltered) {
        m_searchString = keptSearchString;
        m_views = std::move(keptViews);
        m_sortRanks = std::move(keptSortRanks);
    }
    return opened;
}

bool RuleManager::writeToFile(const QString &path, const QList<RuleBasePtr> &policiesToWrite)
{
    m_lastErrorMessage = QString();
    RuleFileOutput output(path, m_lastErrorMessage);
    // Nothing is said about the rules of a file that fails to open.
    if (!output.waitUntilOpen())
        return output.finish();
    for (const RuleBasePtr &rule : policiesToWrite) {
        if (!rule || !output.write(*rule)) {
            qCWarning(lcRuleManagement).noquote()
                << QStringLiteral("%1: Don't know how to render rule object %2")
                       .arg(QLatin1String("-[RuleManager writeToFile:policiesToWrite:]"),
                            rule ? rule->description() : QStringLiteral("(null)"));
        }
    }
    return output.finish();
}

void RuleManager::writeToCurrentUserConfiguration()
{
    const QString path = ProductFolders::localUserFile();
    if (!writeToFile(path))
        return;
    // The user's own ruleset is not for other accounts to read.
    if (::chmod(QFile::encodeName(path).constData(), kUserConfigurationMode) != 0) {
        const int error = errno;
        qCWarning(lcRuleManagement).noquote() << QStringLiteral("Failed to set the mode of '%1': %2 (%3)")
                                                     .arg(path, systemErrorText(error))
                                                     .arg(error);
    }
}

void RuleManager::copyUserRulesetTo(const QUrl &destination,
                                    const std::optional<QList<RuleBasePtr>> &selection)
{
    const QString path = destination.toLocalFile();
    bool written;
    if (selection) {
        qCDebug(lcRuleManagement).noquote()
            << QStringLiteral("Copying %1 selected policies to %2").arg(selection->size()).arg(path);
        written = writeToFile(path, *selection);
    } else {
        qCDebug(lcRuleManagement).noquote() << QStringLiteral("Copying all policies to %1").arg(path);
        written = writeToFile(path);
    }
    if (!written) {
        qCWarning(lcRuleManagement).noquote()
            << QStringLiteral("Error occurred when copy user ruleset to destination %1: %2")
                   .arg(path, m_lastErrorMessage);
        return;
    }
    // Showing the file in the desktop's file manager is the interface layer's
    // business: this library stays free of GUI modules.
    qCInfo(lcRuleManagement).noquote() << QStringLiteral("Exported rules to %1").arg(path);
}

QString RuleManager::manicurePath(const QString &path, const QString &homePath,
                                  const std::function<bool(const QString &)> &fileExists)
{
    if (path.isNull())
        return QString();
    if (path == QLatin1String("any"))
        return QStringLiteral("");
    QString result = path;
    if (!homePath.isNull()) {
        result.replace(QLatin1String("$HOME"), homePath);
        if (result.startsWith(QLatin1String("~/")))
            result = homePath + u'/' + QStringView(result).mid(2);
    }
    if (result.startsWith(QLatin1String("/Applications/"))) {
        const QString candidate = QLatin1String("/System") + result;
        if (fileExists && fileExists(candidate))
            return candidate;
    }
    return result;
}

QString RuleManager::manicurePath(const QString &path, const QString &homePath)
{
    return manicurePath(path, homePath,
                        [](const QString &candidate) { return QFileInfo::exists(candidate); });
}
