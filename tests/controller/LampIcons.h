#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QString>

// What a lamp button or the bulb label shows, compared with the icon resources by their pixels.
namespace LampIcons {

inline QImage Pixels(const QPixmap &pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

// True when the button shows the resource ":/32x32/<name>".
inline bool Shows(const QAbstractButton *button, const QString &name)
{
    const QPixmap expected(QStringLiteral(":/32x32/") + name);
    return !expected.isNull() && Pixels(button->icon().pixmap(32, 32)) == Pixels(expected);
}

// The name of the lamp icon the button shows, or an empty text when it is none of them.
inline QString Name(const QAbstractButton *button)
{
    for (const char *family : {"red", "yel", "grn", "yel-red"})
        for (const char *look : {"off", "on", "defective"}) {
            const QString name = QStringLiteral("%1-%2").arg(QLatin1String(family), QLatin1String(look));
            if (Shows(button, name))
                return name;
        }
    return {};
}

// True when the label shows the resource ":/16x16/<name>".
inline bool LabelShows(const QLabel *label, const QString &name)
{
    const QPixmap expected(QStringLiteral(":/16x16/") + name);
    return !expected.isNull() && Pixels(label->pixmap()) == Pixels(expected);
}

} // namespace LampIcons
