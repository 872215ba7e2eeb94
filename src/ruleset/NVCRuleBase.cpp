#include "NVCRuleBase.h"

#include "DaemonRuleRecord.h"
#include "PolicyRule.h"
#include "RuleText.h"
#include "StringEquality.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLoggingCategory>
#include <cstring>

Q_LOGGING_CATEGORY(lcRuleBase, "com.norvalis.NVCRuleBase", QtInfoMsg)

NVCRuleBase::NVCRuleBase()
    : m_tag(SharedText::empty())
    , m_constraint(SharedText::empty())
{}

NVCRuleBase::~NVCRuleBase() = default;

QString NVCRuleBase::toString() const
{
    return RuleText::emptyText();
}

QString NVCRuleBase::description() const
{
    return QStringLiteral("<NVCRuleBase: 0x%1>: class - %2, type - %3, path - %4, operations - %5, "
                          "process - %6 (%7), system - %8, constraint - %9")
        .arg(quintptr(this), 0, 16)
        .arg(policyClass)
        .arg(policyType)
        .arg(RuleText::orNullMarker(path()))
        .arg(operations)
        .arg(RuleText::orNullMarker(processName()), RuleText::orNullMarker(processShortName()))
        .arg(int(system))
        .arg(RuleText::orNullMarker(constraint()));
}

int NVCRuleBase::getRuleState() const
{
    return system ? 1 : 0;
}

QString NVCRuleBase::getProcessShortName() const
{
    return RuleText::emptyText();
}

bool NVCRuleBase::isSameKindAs(const NVCRuleBase &) const
{
    return true;
}

bool NVCRuleBase::isEqualTo(const NVCRuleBase &other) const
{
    return fieldsEqual(other, false);
}

bool NVCRuleBase::isEqualToRuleWithPrefix(const NVCRuleBase &other) const
{
    return fieldsEqual(other, true);
}

bool NVCRuleBase::fieldsEqual(const NVCRuleBase &other, bool comparePathsAsDirectories) const
{
    if (!isSameKindAs(other))
        return false;
    if (policyType != other.policyType || policyClass != other.policyClass ||
        operations != other.operations || flags != other.flags)
        return false;
    const bool pathsEqual = comparePathsAsDirectories
                                ? isStringEqualToString(RuleText::directoryOfPath(path()),
                                                        RuleText::directoryOfPath(other.path()))
                                : isStringEqualToString(pathView(), other.pathView());
    return pathsEqual && m_processName == other.m_processName && m_constraint == other.m_constraint;
}

namespace {

const QString kPolicyClass = QStringLiteral("policyClass");
const QString kPolicyType = QStringLiteral("policyType");
const QString kPath = QStringLiteral("path");
const QString kOperations = QStringLiteral("operations");
const QString kFlags = QStringLiteral("flags");
const QString kProcessName = QStringLiteral("processName");
const QString kTag = QStringLiteral("tag");
const QString kProcessShortName = QStringLiteral("processShortName");
const QString kSystem = QStringLiteral("system");
const QString kSequence = QStringLiteral("sequence");
const QString kConstraint = QStringLiteral("constraint");

void putText(QVariantMap &archive, const QString &key, const QString &text)
{
    if (!text.isNull())
        archive.insert(key, text);
}

QString wrongType(const QString &key, const QVariant &value, const char *expected)
{
    return QCoreApplication::translate("NVCRuleBase",
                                       "The archived rule's value for \"%1\" is a %2, not a %3")
        .arg(key, QString::fromLatin1(value.metaType().name()), QString::fromLatin1(expected));
}

// Absent keys decode as zero or as an absent text, as an empty coder would give them.
bool takeInt32(const QVariantMap &archive, const QString &key, quint32 &out, QString *error)
{
    const QVariant value = archive.value(key);
    if (!value.isValid()) {
        out = 0;
        return true;
    }
    const int type = value.metaType().id();
    if (type != QMetaType::Int && type != QMetaType::UInt) {
        *error = wrongType(key, value, "32-bit integer");
        return false;
    }
    out = value.toUInt();
    return true;
}

bool takeText(const QVariantMap &archive, const QString &key, QString &out, QString *error)
{
    const QVariant value = archive.value(key);
    if (!value.isValid()) {
        out = QString();
        return true;
    }
    if (value.metaType().id() != QMetaType::QString) {
        *error = wrongType(key, value, "string");
        return false;
    }
    out = value.toString();
    return true;
}

} // namespace

QVariantMap NVCRuleBase::archive() const
{
    QVariantMap archive;
    archive.insert(kPolicyClass, int(policyClass));
    archive.insert(kPolicyType, int(policyType));
    putText(archive, kPath, path());
    archive.insert(kOperations, int(operations));
    archive.insert(kFlags, int(flags));
    putText(archive, kProcessName, processName());
    putText(archive, kTag, tag());
    putText(archive, kProcessShortName, processShortName());
    archive.insert(kSystem, system);
    archive.insert(kSequence, qlonglong(sequence));
    putText(archive, kConstraint, constraint());
    return archive;
}

bool NVCRuleBase::unarchive(const QVariantMap &archive, QString *error)
{
    QString ignored;
    if (!error)
        error = &ignored;
    // Decode into a copy first so that a rejected archive leaves this record untouched.
    quint32 newClass, newType, newOperations, newFlags;
    QString newPath, newProcessName, newTag, newShortName, newConstraint;
    if (!takeInt32(archive, kPolicyClass, newClass, error) ||
        !takeInt32(archive, kPolicyType, newType, error) ||
        !takeInt32(archive, kOperations, newOperations, error) ||
        !takeInt32(archive, kFlags, newFlags, error) || !takeText(archive, kPath, newPath, error) ||
        !takeText(archive, kProcessName, newProcessName, error) || !takeText(archive, kTag, newTag, error) ||
        !takeText(archive, kProcessShortName, newShortName, error) ||
        !takeText(archive, kConstraint, newConstraint, error))
        return false;

    const QVariant systemValue = archive.value(kSystem);
    if (systemValue.isValid() && systemValue.metaType().id() != QMetaType::Bool) {
        *error = wrongType(kSystem, systemValue, "boolean");
        return false;
    }
    const QVariant sequenceValue = archive.value(kSequence);
    if (sequenceValue.isValid() && sequenceValue.metaType().id() != QMetaType::LongLong &&
        sequenceValue.metaType().id() != QMetaType::Int) {
        *error = wrongType(kSequence, sequenceValue, "integer");
        return false;
    }

    policyClass = newClass;
    policyType = newType;
    operations = newOperations;
    flags = newFlags;
    setPath(newPath);
    setProcessName(newProcessName);
    setTag(newTag);
    setProcessShortName(newShortName);
    setConstraint(newConstraint);
    system = systemValue.toBool();
    sequence = sequenceValue.toLongLong();
    // The creation time is not part of the archive.
    created = 0;
    return true;
}

namespace {

quint32 recordUInt32(const QByteArray &record, std::size_t offset)
{
    quint32 value;
    std::memcpy(&value, record.constData() + offset, sizeof value);
    return value;
}

qint64 recordInt64(const QByteArray &record, std::size_t offset)
{
    qint64 value;
    std::memcpy(&value, record.constData() + offset, sizeof value);
    return value;
}

// A NUL-terminated field of `capacity` bytes, read as at most capacity - 1 bytes.
QByteArray recordCString(const QByteArray &record, std::size_t offset, std::size_t capacity)
{
    const char *start = record.constData() + offset;
    const void *nul = std::memchr(start, '\0', capacity - 1);
    const std::size_t length = nul ? std::size_t(static_cast<const char *>(nul) - start) : capacity - 1;
    return QByteArray(start, qsizetype(length));
}

QByteArray processText(const QByteArray &record)
{
    using namespace DaemonRuleRecord;
    QByteArray process = recordCString(record, ProcessPath, PathCapacity);
    QByteArray related = recordCString(record, RelatedProcessPath, PathCapacity);
    if (process.isEmpty())
        process = "any";
    if (related.isEmpty())
        related = "any";
    QByteArray text;
    switch (recordUInt32(record, ProcessRelation)) {
    case RelationAncestor:
        text = process + " ancestor " + related;
        break;
    case RelationVia:
        text = process + " via " + related;
        break;
    default:
        text = process;
        break;
    }
    // The daemon composes this text in a buffer of 2056 bytes.
    return text.left(2055);
}

QByteArray flagsText(const QByteArray &record)
{
    using namespace DaemonRuleRecord;
    QByteArray text;
    if (recordUInt32(record, Flags) & RuleFlag::TeamID)
        text += "t";
    if (recordUInt32(record, Temporary) != 0)
        text += "(temporary)";
    if (recordUInt32(record, Restart) != 0)
        text += "(restart)";
    // The flags field is a 16-byte buffer: with every flag set, "(restart)" is cut short.
    return text.left(15);
}

} // namespace

std::optional<QString> NVCRuleBase::textForRule(const QByteArray &record, const QString &homeDirectory)
{
    namespace R = DaemonRuleRecord;
    if (std::size_t(record.size()) < R::MinimumSize)
        return std::nullopt;

    const quint32 policyClass = recordUInt32(record, R::PolicyClass);
    const quint32 policyType = recordUInt32(record, R::PolicyType);
    const QByteArray rawPath = recordCString(record, R::FilePath, R::PathCapacity);
    const QString operations = RuleText::operationLetters(recordUInt32(record, R::Operations));

    if (policyClass == PolicyClass::Allow || policyClass == PolicyClass::Deny) {
        QString pathText = QStringLiteral("any");
        if (!rawPath.isEmpty()) {
            pathText = QString::fromUtf8(rawPath);
            if (!homeDirectory.isEmpty() && pathText.startsWith(homeDirectory))
                pathText = u'~' + pathText.mid(homeDirectory.size());
        }
        const char *typeWord = policyType == PolicyType::Path     ? "path"
                               : policyType == PolicyType::Prefix ? "prefix"
                                                                  : "suffix";
        qint64 created = recordInt64(record, R::Created);
        if (created == 0)
            created = QDateTime::currentSecsSinceEpoch();
        return QString::fromLatin1(policyClass != 0 ? "deny" : "allow") + u' ' + QLatin1String(typeWord) +
               u" \"" + pathText + u"\" \"" + QString::fromUtf8(processText(record)) + u"\" " + operations +
               u" \"" + QString::fromUtf8(flagsText(record)) + u"\" \"" +
               PolicyRule::constraintStringForRule(record) + u"\" \"" + QString::number(created) + u"\"\n";
    }
    if (policyClass == PolicyClass::Watch) {
        return u"watch " + RuleText::policyTypeWord(policyType) + u" \"" + QString::fromUtf8(rawPath) +
               u"\" \"" + QString::fromUtf8(recordCString(record, R::ProcessPath, R::PathCapacity)) + u"\" " +
               operations + u" \"\"\n";
    }
    qCWarning(lcRuleBase, "Don't know how to render rule of class %d", int(policyClass));
    return std::nullopt;
}
