#include "BuildPaths.h"

namespace quiven::test {

QString builtBinary(const QString &relativePath)
{
    return QStringLiteral(QUIVEN_BINARY_DIR "/") + relativePath;
}

QString sourceFile(const QString &relativePath)
{
    return QStringLiteral(QUIVEN_SOURCE_DIR "/") + relativePath;
}

} // namespace quiven::test
