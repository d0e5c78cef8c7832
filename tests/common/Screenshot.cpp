#include "Screenshot.h"

#include <QDir>
#include <QPixmap>
#include <QWidget>

#include <cstdio>

bool SaveScreenshot(QWidget *widget, const QString &directory, const QString &name)
{
    const QString path = QDir(directory).filePath(name);
    const bool saved = widget->grab().save(path);
    std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(path));
    return saved;
}
