#include "RuleManager.h"
#include "RuleText.h"

quint32 RuleManager::policyClassForString(const QString &word)
{
    return RuleText::policyClassForWord(word);
}

quint32 RuleManager::policyTypeForString(const QString &word)
{
    return RuleText::policyTypeForWord(word);
}

quint32 RuleManager::operationsForString(const QString &letters)
{
    return RuleText::operationsForLetters(letters);
}

quint32 RuleManager::flagsForString(const QString &letters)
{
    return RuleText::flagsForLetters(letters);
}

QString RuleManager::operationsForRule(const NVCRuleBase &rule)
{
    return RuleText::operationLetters(rule.operations);
}

QString RuleManager::operationsForInteger(quint32 operations)
{
    return RuleText::operationLetters(operations);
}

QString RuleManager::flagsForInteger(quint32 flags)
{
    return RuleText::flagLetters(flags);
}

QString RuleManager::flagsForPolicyRule(const PolicyRule &rule)
{
    return RuleText::flagLetters(rule.flags & RuleFlag::User);
}

QString RuleManager::flagsForWatchRule(const WatchRule &rule)
{
    return RuleText::flagLetters(rule.flags & RuleFlag::Sticky);
}
