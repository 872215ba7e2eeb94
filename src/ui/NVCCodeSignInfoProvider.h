#pragma once

#include <QString>

// Static code-signing facts of a file. Linux programs carry no team
// identifier; a "platform binary" is a root-owned regular file under the
// operating system's own program folders.
class NVCCodeSignInfoProvider
{
public:
    // Null: there is no team identifier on this platform.
    QString teamIdentifier(const QString &path) const;
    bool isPlatformBinary(const QString &path) const;
};
