#include "RulesTableModel.h"

#include "NVCEditPolicyUI.h"
#include "RuleManager.h"
#include "StoreTestRules.h"
#include "UiTranslations.h"
#include "WaitUntil.h"

#include <QAbstractItemModelTester>
#include <QCryptographicHash>
#include <QTemporaryFile>
#include <QTranslator>
#include <gtest/gtest.h>
#include <thread>

namespace {

QString cellText(const RulesTableModel &model, int row, int column, int role = Qt::DisplayRole)
{
    return model.data(model.index(row, column), role).toString();
}

class RulesTableModelTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        manager.addWatchRule(watchRule(QStringLiteral("/etc/"), QStringLiteral("any")), false);
        // Two rules of one application, the second one made redundant by the first.
        manager.addPolicyRule(policyRule(0, 0, QStringLiteral("/usr/"), QStringLiteral("/bin/sh"), 7), false);
        manager.addPolicyRule(policyRule(0, 1, QStringLiteral("/usr/share"), QStringLiteral("/bin/sh"), 1),
                              false);
        manager.addPolicyRule(policyRule(1, 0, QStringLiteral("/no/such/folder/"),
                                         QStringLiteral("/bin/cp via /usr/bin/make"), 2, QString(), true),
                              false);
        manager.rebuildRulesCache();
    }

    RuleManager manager;
};

} // namespace

TEST_F(RulesTableModelTest, RowsFollowTheStoreAndPassTheModelChecks)
{
    RulesTableModel model(&manager);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ASSERT_EQ(model.rowCount(), 4);
    for (int row = 0; row < 4; ++row)
        EXPECT_EQ(model.ruleAtRow(row), manager.ruleAtIndex(quint64(row), true));

    model.sort(RulesTableModel::PathColumn, Qt::DescendingOrder);
    EXPECT_EQ(cellText(model, 0, RulesTableModel::PathColumn), QStringLiteral("/usr/share"));

    // The matching view keeps the rows it is given, in table order, until a row is taken out.
    const RuleBasePtr first = model.ruleAtRow(0);
    const RuleBasePtr kept = model.ruleAtRow(2);
    model.setRowFilter([&] { return QSet<const NVCRuleBase *>{kept.get(), first.get()}; });
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(cellText(model, 0, RulesTableModel::PathColumn), QStringLiteral("/usr/share"));
    model.removeRowFromTable(0);
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.ruleAtRow(0), kept);
    model.setRowFilter({});

    std::thread([this] {
        manager.addPolicyRule(policyRule(0, 0, QStringLiteral("/opt/"), QStringLiteral("/bin/ls"), 1));
    }).join();
    EXPECT_EQ(model.rowCount(), 4) << "changes from another thread reach the view queued";
    EXPECT_TRUE(waitUntil([&] { return model.rowCount() == 5; }));
}

TEST_F(RulesTableModelTest, CellsShowTheRuleAsTheTableDrawsItAndCheckPathsAndPrograms)
{
    RulesTableModel model(&manager);
    // Watch rules first, then the groups by name: "cp via make" (system), then "sh".
    const int system = 1, groupHead = 2, redundant = 3;
    ASSERT_EQ(model.ruleAtRow(redundant)->path(), QStringLiteral("/usr/share"));
    EXPECT_EQ(cellText(model, system, RulesTableModel::ApplicationColumn), QStringLiteral("cp via make"));
    EXPECT_EQ(cellText(model, groupHead, RulesTableModel::ApplicationColumn), QStringLiteral("sh"));
    EXPECT_TRUE(cellText(model, redundant, RulesTableModel::ApplicationColumn).isEmpty())
        << "only a group's first row names it";

    const auto colour = [&](int row) {
        return model.data(model.index(row, RulesTableModel::PathColumn), Qt::ForegroundRole).value<QColor>();
    };
    EXPECT_EQ(colour(redundant), NVCEditPolicyUI::systemOrange());
    EXPECT_FALSE(colour(groupHead).isValid()) << "an existing folder keeps the label colour";
    EXPECT_FALSE(colour(system).isValid()) << "system rules keep the label colour";

    EXPECT_TRUE(NVCEditPolicyUI::hasDefaultColor(2, QStringLiteral("/missing"), false)) << "suffix";
    EXPECT_TRUE(NVCEditPolicyUI::hasDefaultColor(0, QStringLiteral(":NVRAM/x"), false));
    EXPECT_TRUE(NVCEditPolicyUI::hasDefaultColor(0, QStringLiteral("/dev/nonexistent"), false));

    QTemporaryFile program;
    ASSERT_TRUE(program.open());
    program.write("#!/bin/sh\n");
    program.flush();
    const QString sha1 =
        QString::fromLatin1(QCryptographicHash::hash("#!/bin/sh\n", QCryptographicHash::Sha1).toHex());
    const auto valid = [](const QString &process, const QString &constraint) {
        return NVCEditPolicyUI::isValidApplicationPath(
            *policyRule(0, 0, QStringLiteral("/"), process, 1, constraint));
    };
    const QString path = program.fileName();
    EXPECT_TRUE(valid(path, sha1));
    EXPECT_FALSE(valid(path, QString(40, u'0')));
    EXPECT_FALSE(valid(path, QStringLiteral("TEAMID1234"))) << "no team identifiers here";
    EXPECT_TRUE(valid(path, QStringLiteral("APPLE_PF_BINARY")));
    EXPECT_FALSE(valid(QStringLiteral("/no/such/program"), QString()));
    EXPECT_FALSE(valid(path + QStringLiteral(" via /no/such/parent"), QString()));

    ASSERT_TRUE(installUiTranslations(QLocale(QLocale::German))) << "the German catalog is embedded";
    EXPECT_EQ(
        model.headerData(RulesTableModel::ApplicationColumn, Qt::Horizontal, Qt::DisplayRole).toString(),
        QStringLiteral("Programm"));
    for (QTranslator *translator : QCoreApplication::instance()->findChildren<QTranslator *>())
        QCoreApplication::removeTranslator(translator);
}
