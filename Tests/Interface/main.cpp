// The tests of what Qt shows, on Qt's platform without a screen.
#include "Interface/NPInterfaceQt.h"
#include "Interface/QXContrastStyle.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryFile>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    QTemporaryFile screens; // large enough for every window at twice the scale
    EXPECT_TRUE(screens.open());
    screens.write(R"({"screens": [{"name": "Screen", "x": 0, "y": 0, "width": 2560, "height": 1600,)"
                  R"("logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    screens.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens.fileName().toUtf8());
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QXContrastStyle::install();
    NPInitInterfaceResources();
    return RUN_ALL_TESTS();
}
