// The icons: lines of 1.5 on a grid of 16, drawn by us, in the colour of the text.
#include <vector>

#include <QByteArray>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include "apps/studio/theme.h"

namespace {

struct Drawing {
    const char* name;
    const char* path;
};
constexpr Drawing kDrawings[] = {
    {"new", "M4 1.75h5l3 3v9.5H4zM9 1.75v3h3"},
    {"open", "M1.75 13V3h4l1.5 2h7v8zM1.75 7.5h12.5"},
    {"save", "M2 2h10l2 2v10H2zM5 2v4h5V2M4.5 14V9.5h7V14"},
    {"undo", "M6 3L2.5 6.5 6 10M2.5 6.5H10a3.5 3.5 0 0 1 0 7H6"},
    {"redo", "M10 3l3.5 3.5L10 10M13.5 6.5H6a3.5 3.5 0 0 0 0 7h4"},
    {"frame", "M2 5V2h3M11 2h3v3M14 11v3h-3M5 14H2v-3M5.5 8a2.5 2.5 0 1 0 5 0a2.5 2.5 0 1 0-5 0"},
    {"palette", "M2 4l4 4-4 4M8 12.5h6"},
    {"theme", "M8 2a6 6 0 1 0 0 12a6 6 0 1 0 0-12M8 2v12M8 5l4.2-1M8 8h6M8 11l4.2 1"},
    {"update", "M13.5 8A5.5 5.5 0 1 1 11.6 3.8M12 1v3.2H8.8"},
    {"scatter", "M5 2L2.5 7h5zM5 7v2M11 5l-2.5 5h5zM11 10v2M4 10l-2 3.5h4z"},
    {"mesh", "M8 1.75l5.5 3v6.5L8 14.25l-5.5-3v-6.5zM2.5 4.75L8 8l5.5-3.25M8 8v6"},
    {"material",
     "M8 2a6 6 0 1 0 0 12a6 6 0 1 0 0-12M4.5 6.5C5 5 6 4.25 7.25 4M3 10.5c3 1.5 7 1.5 10 0"},
    {"camera", "M1.75 5h8v7h-8zM9.75 8l4.5-2.5v6L9.75 9"},
    {"light", "M8 2a4 4 0 0 0-2 7.5V11h4V9.5A4 4 0 0 0 8 2M6.5 13.5h3"},
    {"spline", "M2 12C5 2 11 14 14 4M2 12h.01M14 4h.01"},
    {"effect", "M5.5 4L1.75 8l3.75 4M10.5 4l3.75 4-3.75 4M9 2.5l-2 11"},
    {"library", "M3 2v12M6 2v12M9 2.5l3.5 11.5M2 14h12M9 2.5v11.5"},
    {"list", "M2 3.5h12M2 8h12M2 12.5h12M5.5 3.5v9"},
    {"settings",
     "M2 4h5M11 4h3M7 4a2 2 0 1 0 4 0a2 2 0 1 0-4 0M2 12h1M7 12h7M3 12a2 2 0 1 0 4 0a2 2 0 1 0-4 "
     "0"},
    {"lod", "M4 2L2 6h4zM11 5l-3 5h6zM4 6v8M11 10v4"},
    {"tools", "M10 2a3.5 3.5 0 0 0-3 5L2 12l2 2 5-5a3.5 3.5 0 0 0 5-3l-2 2-2.5-1.5L10 4z"},
    {"select", "M4 2l8.5 6.5-4 .5 2.5 4.5-1.75 1-2.5-4.5L4 12.5z"},
    {"move", "M8 1.75v12.5M1.75 8h12.5M6 3.5l2-2 2 2M6 12.5l2 2 2-2M3.5 6l-2 2 2 2M12.5 6l2 2-2 2"},
    {"rotate", "M13 9A5.25 5.25 0 1 1 11.5 4.2M12 1.5v3H9"},
    {"scale", "M2 8.5h5.5V14H2zM7.5 8.5L14 2M9.5 2H14v4.5"},
    {"snap", "M3 2v6a5 5 0 0 0 10 0V2h-3v6a2 2 0 0 1-4 0V2zM3 4.5h3M10 4.5h3"},
    {"axes", "M5 11V2M5 11h9M5 11l-3 3M3.5 3.5L5 2l1.5 1.5M12.5 9.5L14 11l-1.5 1.5"},
    {"items", "M2 2h5v5H2zM9 2h5v5H9zM2 9h5v5H2zM11.5 9v5M9 11.5h5"},
    {"pin", "M5.5 2h5M6.5 2v5L4.5 9.5h7L9.5 7V2M8 9.5V14"},
    {"first", "M3.5 3v10M13 3L6 8l7 5z"},
    {"last", "M12.5 3v10M3 3l7 5-7 5z"},
    {"play", "M4 2.5L13 8l-9 5.5z"},
    {"key", "M8 2l5 6-5 6-5-6z"},
    {"key_before", "M10 4l4 4-4 4-4-4zM5 4L1.75 8 5 12"},
    {"key_after", "M6 4l4 4-4 4-4-4zM11 4l3.25 4L11 12"},
    {"add", "M8 2.5v11M2.5 8h11"},
    {"brush", "M13.5 2L7 9l1.5 1.5L14 3zM7 9c-2 0-3 1-3 2.5S3 14 1.75 14c4 0.5 6.75-1 6.75-3.5"},
    {"lasso",
     "M8 2.5c-3.5 0-6 1.5-6 3.75S4.5 10 8 10s6-1.5 6-3.75S11.5 2.5 8 2.5M5 9.5c0 2-1 3-2 4"},
    {"eye",
     "M1.5 8C4 4 12 4 14.5 8C12 12 4 12 1.5 8M6.25 8a1.75 1.75 0 1 0 3.5 0a1.75 1.75 0 1 0-3.5 0"},
    {"points", "M3.5 11.5C4 5 12 11 12.5 4.5M2 10.5h3v3H2zM11 2.5h3v3h-3z"},
    {"node", "M8 3.5v9M3.5 8h9"},
};

QPixmap Draw(const char* path, const QColor& color, int size) {
    QByteArray svg = QByteArray(
                         "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 16 16'>"
                         "<path fill='none' stroke='") +
                     color.name().toLatin1() +
                     "' stroke-width='1.5' stroke-linecap='round' stroke-linejoin='round' d='" +
                     path + "'/></svg>";
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(svg).render(&painter);
    return pixmap;
}

}  // namespace

QIcon ThemeIcon(const char* name) {
    QIcon icon;
    for (const Drawing& drawing : kDrawings) {
        if (qstrcmp(drawing.name, name) != 0) continue;
        for (int size : {16, 20, 24, 32, 40, 48, 64}) {
            icon.addPixmap(Draw(drawing.path, CurrentColors().text, size));
            icon.addPixmap(Draw(drawing.path, CurrentColors().border, size), QIcon::Disabled);
        }
    }
    return icon;
}

std::span<const char* const> ThemeIconNames() {
    static const std::vector<const char*> names = [] {
        std::vector<const char*> all;
        for (const Drawing& drawing : kDrawings) all.push_back(drawing.name);
        return all;
    }();
    return names;
}
