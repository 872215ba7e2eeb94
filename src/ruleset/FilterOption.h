#pragma once

#include <QString>

struct FilterOption
{
    quint32 value = 0;
    QString name;
};
