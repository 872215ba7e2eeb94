// The filter's fixed-layout records: the access record behind a policy query
// and the daemon rule record rendered as a rule line; the first byte chooses.
#include "NVCPolicyQuery.h"
#include "NVCRuleBase.h"
#include "PolicyRule.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray record(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    if (data[0] % 2 == 0) {
        if (const auto query = NVCPolicyQuery::withStruct(record, QByteArray()))
            static_cast<void>(query->description());
    } else {
        static_cast<void>(NVCRuleBase::textForRule(record, QStringLiteral("/home/fuzz")));
        static_cast<void>(PolicyRule::constraintStringForRule(record));
    }
    return 0;
}
