#include "PrivateSystemBus.h"

#include "StandInProcess.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <gtest/gtest.h>

TEST(PrivateSystemBus, OnlyPolicyNamesCanBeOwnedAndOwnershipIsObservable)
{
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    QDBusConnection connection = bus.connect(QStringLiteral("harness-owner"));
    ASSERT_TRUE(connection.isConnected());

    EXPECT_FALSE(connection.registerService(QStringLiteral("org.example.NotAllowed")));
    ASSERT_TRUE(connection.registerService(QStringLiteral("com.norvalis.nrquivend")));
    EXPECT_TRUE(bus.waitForName(QStringLiteral("com.norvalis.nrquivend"), 1000));

    connection.unregisterService(QStringLiteral("com.norvalis.nrquivend"));
    EXPECT_TRUE(bus.waitForNameGone(QStringLiteral("com.norvalis.nrquivend"), 1000));
}

TEST(PrivateSystemBus, ExtraPolicyFilesAreIncluded)
{
    QTemporaryDir dir;
    const QString policy = dir.filePath(QStringLiteral("extra.conf"));
    QFile file(policy);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><policy context="default"><allow own="org.example.Extra"/></policy></busconfig>)");
    file.close();

    PrivateSystemBus bus({policy});
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    EXPECT_TRUE(
        bus.connect(QStringLiteral("harness-extra")).registerService(QStringLiteral("org.example.Extra")));
}

TEST(StandInProcess, ChildSeesTheBusAndCanBeKilled)
{
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning());
    StandInProcess child(QStringLiteral("sh"),
                         {QStringLiteral("-c"), QStringLiteral("echo $DBUS_SYSTEM_BUS_ADDRESS; sleep 30")},
                         QProcessEnvironment::systemEnvironment());
    ASSERT_TRUE(child.start(bus, QString()));
    EXPECT_TRUE(child.isRunning());
    EXPECT_GT(child.pid(), 0);
    EXPECT_TRUE(child.waitForOutput(bus.address().toUtf8()));
    child.kill9();
    EXPECT_FALSE(child.isRunning());
}
