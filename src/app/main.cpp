#include "app/CStartup.h"
#include "app/MainWindow.h"
#include "settings/LichtwartSettings.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const bool allowRawHex = CStartup::ProcessCommandLine(QApplication::arguments());
    LichtwartSettings::SetIdentity();
    CStartup::ApplyStyleSheet(app, QApplication::applicationDirPath());

    // The window releases its resources when it is closed; it is not deleted here.
    MainWindow *window = new MainWindow(allowRawHex);
    window->show();
    return app.exec();
}
