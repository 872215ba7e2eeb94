#pragma once

#include <QString>

struct TraceRule
{
    QString processName;
    QString path;

    QString description() const;
};
