// The a{sv} record decoders (policy query, user response, watch and policy
// rules) on dictionaries built from the input: known coding keys or odd ones,
// each with a value of any type the bus can carry, maps nested a few deep.
#include "NVCPolicyQuery.h"
#include "NVCUserPolicyResponse.h"
#include "RuleCoding.h"

#include <QStringList>
#include <cstdint>

namespace {

class Input
{
public:
    Input(const uint8_t *data, size_t size)
        : m_data(data)
        , m_size(size)
    {}

    bool done() const { return m_at >= m_size; }
    uint8_t byte() { return done() ? 0 : m_data[m_at++]; }
    quint64 number()
    {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i)
            value = (value << 8) | byte();
        return value;
    }
    QByteArray bytes()
    {
        const size_t length = std::min<size_t>(byte(), m_size - std::min(m_at, m_size));
        const QByteArray taken(reinterpret_cast<const char *>(m_data + m_at), qsizetype(length));
        m_at += length;
        return taken;
    }

private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_at = 0;
};

QStringList codingKeys()
{
    QStringList keys;
    keys << NVCPolicyQuery().archive().keys() << NVCUserPolicyResponse().archive().keys();
    keys << quiven::dbus::archivePolicyRules({std::make_shared<PolicyRule>()}).constFirst().keys();
    keys << quiven::dbus::archiveWatchRules({std::make_shared<WatchRule>()}).constFirst().keys();
    // Keys left out of a default archive because their value is absent.
    keys << QStringLiteral("query") << QStringLiteral("path") << QStringLiteral("userData")
         << QStringLiteral("constraint");
    keys.removeDuplicates();
    return keys;
}

QVariantMap dictionary(Input &input, int depth);

QVariant value(Input &input, int depth)
{
    switch (input.byte() % 11) {
    case 0:
        return bool(input.byte() & 1);
    case 1:
        return qint32(input.number());
    case 2:
        return quint32(input.number());
    case 3:
        return qint64(input.number());
    case 4:
        return quint64(input.number());
    case 5:
        return double(qint64(input.number()));
    case 6:
        return QString::fromUtf8(input.bytes());
    case 7:
        return input.bytes();
    case 8:
        return QStringList{QString::fromUtf8(input.bytes())};
    case 9:
        return depth < 3 ? QVariant(dictionary(input, depth + 1)) : QVariant();
    default:
        return QVariant();
    }
}

QVariantMap dictionary(Input &input, int depth)
{
    static const QStringList keys = codingKeys();
    QVariantMap map;
    const int entries = input.byte() % 24;
    for (int i = 0; i < entries && !input.done(); ++i) {
        const uint8_t choice = input.byte();
        const QString key = choice < 224 ? keys.at(choice % keys.size()) : QString::fromUtf8(input.bytes());
        map.insert(key, value(input, depth));
    }
    return map;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const QVariantMap archive = dictionary(input, 0);
    QString error;
    if (const auto query = NVCPolicyQuery::unarchive(archive, &error))
        static_cast<void>(query->description());
    if (const auto response = NVCUserPolicyResponse::unarchive(archive, &error))
        static_cast<void>(response->description());
    QList<WatchRulePtr> watchRules;
    if (quiven::dbus::unarchiveWatchRules({archive}, &watchRules, &error))
        static_cast<void>(watchRules.constFirst()->toString());
    QList<PolicyRulePtr> policyRules;
    if (quiven::dbus::unarchivePolicyRules({archive}, &policyRules, &error))
        static_cast<void>(policyRules.constFirst()->toString());
    return 0;
}
