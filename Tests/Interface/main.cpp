// The tests of what Qt shows, on Qt's platform without a screen.
#include "Interface/NPInterfaceQt.h"

#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    NPInitInterfaceResources();
    return RUN_ALL_TESTS();
}
