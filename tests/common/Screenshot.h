#pragma once

#include <QString>

class QWidget;

// The documentation's pictures: draws widget into directory/name (a PNG by the name's extension)
// and says on standard output which file was written, or that it could not be.
bool SaveScreenshot(QWidget *widget, const QString &directory, const QString &name);
