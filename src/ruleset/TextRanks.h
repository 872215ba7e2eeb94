#pragma once

#include <QString>
#include <QStringView>
#include <vector>

// The dense rank of each text in UTF-16 code unit order (QString::compare's
// order): equal texts share a rank, and ranks count up from 0 without gaps.
// Texts sharing long beginnings, as the paths of a ruleset do, are ranked
// without comparing those beginnings again and again.
std::vector<qint64> denseRanks(const std::vector<QString> &texts);

// Positions of `texts` in the same order; equal texts come in no fixed order.
std::vector<std::size_t> codeUnitOrder(const std::vector<QStringView> &texts);
