// One rule-file line through the tokenizer, from bytes read as UTF-8.
#include "RuleManager.h"
#include "RuleTokenizer.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    RuleTokens tokens;
    tokenizeRuleLine(line, tokens);
    for (const RuleToken &token : tokens) {
        const QStringView text = token.view(line);
        if (!token.isAssembled && (token.start < 0 || token.start + token.length > line.size()))
            __builtin_trap();
        static_cast<void>(text.size());
    }
    static_cast<void>(RuleManager::scanString(line));
    return 0;
}
