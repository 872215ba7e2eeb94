#pragma once

#include <QString>

namespace quiven::test {

// Path of a binary built by this project, relative to the build folder,
// e.g. "services/filterd/quiven-filterd".
QString builtBinary(const QString &relativePath);
QString sourceFile(const QString &relativePath);

} // namespace quiven::test
