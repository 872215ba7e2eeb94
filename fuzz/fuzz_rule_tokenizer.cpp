// One rule-file line through the tokenizer, from bytes read as UTF-8.
#include "RuleManager.h"
#include "RuleTokenizer.h"

#include <cstdint>
#include <functional>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    RuleTokens tokens;
    tokenizeRuleLine(line, tokens);
    // A token is at most the line, and one that points into the line ends within it.
    const char16_t *begin = QStringView(line).utf16();
    const char16_t *end = begin + line.size();
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QStringView text = tokens.view(line, i);
        const bool inLine =
            std::less_equal<>()(begin, text.utf16()) && std::less_equal<>()(text.utf16(), end);
        if (text.size() > line.size() || (inLine && std::less<>()(end, text.utf16() + text.size())))
            __builtin_trap();
    }
    static_cast<void>(RuleManager::scanString(line));
    return 0;
}
