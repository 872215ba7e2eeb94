#pragma once

#include "NVCRuleBase.h"

#include <QString>
#include <QStringList>

// One attempt of a program to use a file, as the filter would see it. A
// leading "~" in any of the paths stands for `homeFolder`.
struct FileAccess
{
    QString program;       // full path of the program
    QString parent;        // the program that started it; null when unknown
    QStringList ancestors; // further programs up the chain; the parent counts as one too
    QString path;          // the file or folder
    quint32 operation = 0; // exactly one operation bit
    QString homeFolder;    // home of the user asking; "~" in rules stands for it too
};

// Whether a rule is about an access, validity aside: its operations hold the
// access's, its path covers the file and its process text describes the
// program and its parents. The access is prepared once, so that testing many
// rules stays cheap; a matcher remembers its last answer and so serves one
// thread.
class AccessMatcher
{
public:
    explicit AccessMatcher(const FileAccess &access);

    bool matches(const NVCRuleBase &rule) const;

    // The access with every "~" expanded; the ancestors include the parent.
    const QString &homeFolder() const { return m_home; }
    const QString &program() const { return m_program; }
    const QString &parent() const { return m_parent; }
    const QStringList &ancestors() const { return m_ancestors; }

private:
    struct Expanded;
    Expanded expandHome(QStringView text) const;
    bool pathMatches(const NVCRuleBase &rule) const;
    bool rememberedProcessMatches(const QString &processText) const;
    bool processMatches(QStringView processText) const;
    bool isProgram(QStringView ruleText, const QString &program) const;
    bool isAncestor(QStringView ruleText) const;

    QString m_home;
    QString m_program;
    QString m_parent;
    QStringList m_ancestors;
    QString m_path;
    int m_pathNamespace = 0;
    quint32 m_operation = 0;
    mutable QString m_lastProcessText;
    mutable bool m_lastProcessMatched = false;
};
