// The program's icons are vector pictures, drawn at the pixel density of the screen they
// are shown on: sharp at any scale.

#include "support/PaintedPixels.h"

#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QStringList>

#include <gtest/gtest.h>

TEST(Icons, EveryIconIsDrawnAtTheScreensPixelDensity)
{
    const QStringList names = {"quvolink", "open", "save", "forward", "new", "start", "ldata",
                               "sdata", "mstart", "interval", "graph", "moniter", "stop"};
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const QIcon icon(QStringLiteral(":/icons/%1.svg").arg(name));
        ASSERT_FALSE(icon.isNull());
        for (const qreal ratio : {1.0, 1.5, 2.0, 3.0}) {
            const QPixmap pixmap = icon.pixmap(QSize(24, 24), ratio);
            EXPECT_EQ(pixmap.size(), QSize(24, 24) * ratio) << ratio;
            EXPECT_EQ(pixmap.devicePixelRatio(), ratio);
            // Drawn from the picture at that size, not a small bitmap stretched: about as
            // much of it is painted at every scale.
            const double share = static_cast<double>(quvo::test::paintedPixels(pixmap.toImage())) / (pixmap.width() * pixmap.height());
            EXPECT_GT(share, 0.1) << ratio;
        }
    }
}
