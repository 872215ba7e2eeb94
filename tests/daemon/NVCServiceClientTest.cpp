#include "NVCServiceClient.h"

#include <gtest/gtest.h>

TEST(NVCServiceClientDeathTest, ConnectingWithNeitherEndpointNorServiceNameIsAProgrammingError)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    NVCServiceClient client(QDBusConnection(QString()), QString(), QStringLiteral("NVCQUIVENDaemonProtocol"),
                            NVCNamespace(QString()));
    EXPECT_DEBUG_DEATH(EXPECT_FALSE(client.connection()), "xpcMachServiceName property is nil");
}
