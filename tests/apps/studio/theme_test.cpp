#include "apps/studio/theme.h"

#include <gtest/gtest.h>

#include <cmath>

#include <QIcon>

namespace {

// Relative luminance and contrast as WCAG 2.1 defines them.
double Luminance(const QColor& color) {
    auto linear = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}
double Contrast(const QColor& a, const QColor& b) {
    double x = Luminance(a) + 0.05, y = Luminance(b) + 0.05;
    return std::max(x, y) / std::min(x, y);
}

}  // namespace

TEST(StudioTheme, TextAndMarksAreSeenInBothThemes) {
    for (Theme theme : {Theme::kDark, Theme::kLight}) {
        const ThemeColors& c = ColorsOf(theme);
        for (const QColor& ground : {c.window, c.panel, c.field}) {
            EXPECT_GE(Contrast(c.text, ground), 4.5) << ground.name().toStdString();
            EXPECT_GE(Contrast(c.dimText, ground), 4.5) << ground.name().toStdString();
            EXPECT_GE(Contrast(c.error, ground), 4.5) << ground.name().toStdString();
            EXPECT_GE(Contrast(c.warning, ground), 4.5) << ground.name().toStdString();
            EXPECT_GE(Contrast(c.accent, ground), 3.0) << ground.name().toStdString();
            EXPECT_GE(Contrast(c.keyed, ground), 3.0) << ground.name().toStdString();
        }
        EXPECT_GE(Contrast(c.accentText, c.accent), 4.5);
    }
}

TEST(StudioTheme, EveryIconDrawsSomething) {
    EXPECT_GT(ThemeIconNames().size(), 10u);
    for (const char* name : ThemeIconNames()) {
        QImage image = ThemeIcon(name).pixmap(32).toImage();
        int drawn = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) drawn += image.pixelColor(x, y).alpha() > 100;
        EXPECT_GT(drawn, 20) << name;
    }
    EXPECT_TRUE(ThemeIcon("no such icon").isNull());
}
