#include "CandidateGroups.h"

#include "RuleManager.h"

#include <QSet>
#include <algorithm>

namespace {

const QString kAny = QStringLiteral("any");

// Every text by which a rule can name `program`: its path, its path from the
// home folder and its file name.
QStringList spellingsOf(const QString &program, const QString &home)
{
    QStringList spellings{program};
    if (home == u"/")
        spellings.append(u'~' + program);
    else if (!home.isEmpty() && program.startsWith(home) && program.mid(home.size()).startsWith(u'/'))
        spellings.append(u'~' + program.mid(home.size()));
    const QString name = program.mid(program.lastIndexOf(u'/') + 1);
    if (!name.isEmpty() && name != program)
        spellings.append(name);
    return spellings;
}

QStringList processTexts(const AccessMatcher &matcher)
{
    const QString &home = matcher.homeFolder();
    QStringList parents{kAny};
    if (!matcher.parent().isNull())
        parents += spellingsOf(matcher.parent(), home);
    QStringList ancestors{kAny};
    for (const QString &ancestor : matcher.ancestors())
        ancestors += spellingsOf(ancestor, home);

    QStringList texts;
    for (const QString &program : spellingsOf(matcher.program(), home) + QStringList{kAny}) {
        texts.append(program);
        for (const QString &parent : std::as_const(parents))
            texts.append(program + QStringLiteral(" via ") + parent);
        for (const QString &ancestor : std::as_const(ancestors))
            texts.append(program + QStringLiteral(" ancestor ") + ancestor);
    }
    return texts;
}

// A group key ends in the rule's constraint, unless the process text alone
// makes the key; a constraint no rule has tells which.
struct KeyPattern
{
    QString text;
    bool isPrefix = false;
};

KeyPattern keyPatternFor(const QString &processText)
{
    static const QString marker(QChar(0xFFFF));
    NVCRuleBase probe;
    probe.setProcessName(processText);
    probe.setConstraint(marker);
    QString key = RuleManager::applicationGroupIdentityForRule(probe);
    if (!key.endsWith(marker))
        return {key, false};
    key.chop(marker.size());
    return {key, true};
}

// The keys that begin with `prefix`. The view's keys are sorted by their
// case-folded text, in which those keys lie together; comparing without case
// folds the same way without building folded copies.
template <typename Visit>
void forEachKeyWithPrefix(const QStringList &sortedKeys, const QString &prefix, Visit visit)
{
    auto key = std::partition_point(sortedKeys.cbegin(), sortedKeys.cend(), [&prefix](const QString &k) {
        return QString::compare(k, prefix, Qt::CaseInsensitive) < 0;
    });
    for (; key != sortedKeys.cend() && key->startsWith(prefix, Qt::CaseInsensitive); ++key) {
        if (key->startsWith(prefix))
            visit(*key);
    }
}

} // namespace

std::vector<const QList<PolicyRulePtr> *> candidateGroups(const RuleManager &manager,
                                                          const AccessMatcher &matcher)
{
    const auto &groups = manager.policyRulesByApplication();
    std::vector<const QList<PolicyRulePtr> *> found;
    const auto take = [&](const QString &key) {
        const auto group = groups.constFind(key);
        if (group != groups.cend())
            found.push_back(&group.value());
    };

    QSet<QString> seenPatterns;
    for (const QString &text : processTexts(matcher)) {
        const KeyPattern pattern = keyPatternFor(text);
        if (seenPatterns.contains(pattern.text))
            continue;
        seenPatterns.insert(pattern.text);
        if (pattern.isPrefix)
            forEachKeyWithPrefix(manager.sortedKeys(), pattern.text, take);
        else
            take(pattern.text);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}
