#pragma once

#include "AppDelegate.h"
#include "DaemonStack.h"
#include "NVCRuleManager.h"
#include "RulesDirtyFlag.h"
#include "RulesEditorTableController.h"
#include "RulesTableModel.h"
#include "WaitUntil.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <gtest/gtest.h>
#include <memory>

// The first row whose rule is `wanted`, or -1.
inline int rowWhere(const RulesTableModel &model, const std::function<bool(const NVCRuleBase &)> &wanted)
{
    for (int row = 0; row < model.rowCount(); ++row) {
        if (wanted(*model.ruleAtRow(row)))
            return row;
    }
    return -1;
}

// The application on the stand-in daemons over the demo ruleset, with short
// overlay fades; `launch` returns once the first load is done.
class ApplicationFixture : public ::testing::Test
{
protected:
    // The members go in reverse order: the application before its store and the daemons.
    void TearDown() override { RulesDirtyFlag::set(false); }

    bool startDaemons(const QString &authAnswer = QStringLiteral("grant"))
    {
        return daemons->copyDemoRuleset() && daemons->start(authAnswer);
    }

    void create(const QStringList &arguments = {})
    {
        bus = daemons->bus().connect(QStringLiteral("application"));
        manager = std::make_unique<NVCRuleManager>(bus, NVCNamespace(QString()));
        delegate = std::make_unique<AppDelegate>(bus, manager.get(), arguments);
        delegate->setWaitAnimationDurations(0, 10);
        window = delegate->rulesEditorTableController();
    }

    bool launch()
    {
        create();
        delegate->applicationDidFinishLaunching();
        return waitUntil([this] { return !delegate->waitViewVisible(); }, 15000);
    }

    bool unlock()
    {
        delegate->authorize();
        return waitUntil([this] { return delegate->isAuthorized(); });
    }

    // The message box on the main window whose text contains `text`, once it shows.
    QMessageBox *alert(const QString &text)
    {
        QMessageBox *found = nullptr;
        waitUntil([&] {
            for (QMessageBox *box : window->findChildren<QMessageBox *>()) {
                if (box->isVisible() && (box->text().contains(text) || box->informativeText().contains(text)))
                    found = box;
            }
            return found != nullptr;
        });
        return found;
    }

    std::unique_ptr<DaemonStack> daemons = std::make_unique<DaemonStack>();
    QDBusConnection bus{QString()};
    std::unique_ptr<NVCRuleManager> manager;
    std::unique_ptr<AppDelegate> delegate;
    RulesEditorTableController *window = nullptr;
};
