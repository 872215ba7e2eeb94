#pragma once

#include <QString>

// Path helpers the rule editors and the import share.
class Utilities
{
public:
    // "~" expanded, made canonical (links, "." and ".." resolved), the home
    // folder abbreviated back to "~", "/" appended to a folder. A path that
    // cannot be resolved comes back unchanged; an empty one stays empty.
    static QString normalizePath(const QString &path);
    // A leading "~" made the home folder.
    static QString expandTilde(const QString &path);
};
