#include "FileAccess.h"

#include <QStringView>
#include <algorithm>
#include <array>

namespace {

// UTF-16 literals: comparing with Latin-1 text would convert it on every rule.
constexpr QStringView kAny(u"any");
constexpr QStringView kAnyVia(u"any via ");
constexpr QStringView kAnyAncestor(u"any ancestor ");
constexpr QStringView kVia(u" via ");
constexpr QStringView kAncestor(u" ancestor ");

// Device paths live in namespaces of their own: a rule in one never reaches a
// file in another or an ordinary file (0 is the ordinary file system).
constexpr std::array<QStringView, 4> kNamespaces{QStringView(u":NVRAM/"), QStringView(u":ATTACH/"),
                                                 QStringView(u":IOKIT/"), QStringView(u":KMOD/")};

int namespaceOf(QStringView path)
{
    if (!path.startsWith(u':'))
        return 0;
    for (std::size_t i = 0; i < kNamespaces.size(); ++i) {
        if (path.startsWith(kNamespaces[i]))
            return int(i) + 1;
    }
    return 0;
}

bool startsWithHome(QStringView text)
{
    return text.startsWith(u'~') && (text.size() == 1 || text[1] == u'/');
}

QStringView fileName(QStringView path)
{
    return path.mid(path.lastIndexOf(u'/') + 1);
}

} // namespace

// A rule's text with its "~" standing for the home folder, as two pieces, so
// that comparing never builds the expanded text.
struct AccessMatcher::Expanded
{
    QStringView head;
    QStringView tail;

    bool equals(QStringView text) const
    {
        return text.size() == head.size() + tail.size() && text.startsWith(head) &&
               text.mid(head.size()) == tail;
    }
    bool isPrefixOf(QStringView text) const
    {
        return text.startsWith(head) && text.mid(head.size()).startsWith(tail);
    }
    int pathNamespace() const { return head.isEmpty() ? namespaceOf(tail) : 0; }
};

AccessMatcher::AccessMatcher(const FileAccess &access)
    : m_home(access.homeFolder)
    , m_operation(access.operation)
{
    while (m_home.size() > 1 && m_home.endsWith(u'/'))
        m_home.chop(1);
    const auto expand = [this](const QString &text) {
        if (m_home.isEmpty() || !startsWithHome(text))
            return text;
        const Expanded expanded = expandHome(text);
        return expanded.head.toString().append(expanded.tail);
    };
    m_program = expand(access.program);
    m_parent = access.parent.isNull() ? QString() : expand(access.parent);
    if (!m_parent.isNull())
        m_ancestors.append(m_parent);
    for (const QString &ancestor : access.ancestors)
        m_ancestors.append(expand(ancestor));
    m_path = expand(access.path);
    m_pathNamespace = namespaceOf(m_path);
}

bool AccessMatcher::matches(const NVCRuleBase &rule) const
{
    // The path first: it turns most candidates away, and their process texts need not be read.
    return (rule.operations & m_operation) != 0 && pathMatches(rule) &&
           rememberedProcessMatches(rule.processName());
}

// Rules of one group share their process text, so the last answer is kept.
bool AccessMatcher::rememberedProcessMatches(const QString &processText) const
{
    if (processText.isNull() != m_lastProcessText.isNull() || processText != m_lastProcessText) {
        m_lastProcessText = processText;
        m_lastProcessMatched = processMatches(processText);
    }
    return m_lastProcessMatched;
}

bool AccessMatcher::pathMatches(const NVCRuleBase &rule) const
{
    const QStringView rulePath = rule.pathView();
    if (rulePath.isNull())
        return false;
    if (rulePath == kAny)
        return true;
    // A suffix is the end of a file name, not a path: "~" there is a plain character.
    if (rule.policyType == PolicyType::Suffix)
        return namespaceOf(rulePath) == m_pathNamespace && m_path.endsWith(rulePath);

    const Expanded expanded = expandHome(rulePath);
    if (expanded.pathNamespace() != m_pathNamespace)
        return false;
    switch (rule.policyType) {
    case PolicyType::Prefix:
        return expanded.isPrefixOf(m_path);
    case PolicyType::Path:
        return expanded.equals(m_path);
    default:
        // An unreadable type word: any reading counts, so that the rule can be
        // reported as one that would match if it were valid.
        return expanded.isPrefixOf(m_path) || m_path.endsWith(rulePath);
    }
}

bool AccessMatcher::processMatches(QStringView processText) const
{
    if (processText.isNull())
        return false;
    if (processText == kAny)
        return true;
    // A rule's program given by its full path must be this one: most texts fail here.
    if (processText.startsWith(u'/') && !processText.startsWith(m_program))
        return false;
    const auto isParent = [this](QStringView text) {
        return text == kAny || (!m_parent.isNull() && isProgram(text, m_parent));
    };
    if (processText.startsWith(kAnyVia))
        return isParent(processText.mid(kAnyVia.size()));
    if (processText.startsWith(kAnyAncestor))
        return isAncestor(processText.mid(kAnyAncestor.size()));
    if (const qsizetype via = processText.indexOf(kVia); via >= 0)
        return isProgram(processText.left(via), m_program) && isParent(processText.mid(via + kVia.size()));
    if (const qsizetype ancestor = processText.indexOf(kAncestor); ancestor >= 0) {
        return isProgram(processText.left(ancestor), m_program) &&
               isAncestor(processText.mid(ancestor + kAncestor.size()));
    }
    return isProgram(processText, m_program);
}

AccessMatcher::Expanded AccessMatcher::expandHome(QStringView text) const
{
    if (m_home.isEmpty() || !startsWithHome(text))
        return {QStringView(), text};
    // A home of "/" must not give "~/x" a second slash.
    const bool rootHome = m_home.size() == 1;
    if (text.size() == 1 || !rootHome)
        return {m_home, text.mid(1)};
    return {QStringView(), text.mid(1)};
}

// A rule names a program by its path, by its path from the home folder, or,
// without any "/", by its file name alone (as in "any via bash").
bool AccessMatcher::isProgram(QStringView ruleText, const QString &program) const
{
    if (!m_home.isEmpty() && startsWithHome(ruleText))
        return expandHome(ruleText).equals(program);
    if (!ruleText.contains(u'/'))
        return ruleText == fileName(program);
    return ruleText == program;
}

bool AccessMatcher::isAncestor(QStringView ruleText) const
{
    return ruleText == kAny ||
           std::any_of(m_ancestors.cbegin(), m_ancestors.cend(),
                       [&](const QString &ancestor) { return isProgram(ruleText, ancestor); });
}
