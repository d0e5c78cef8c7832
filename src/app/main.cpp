#include "app/CStartup.h"
#include "app/CTranslation.h"
#include "app/MainWindow.h"
#include "settings/LichtwartSettings.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const bool allowRawHex = CStartup::ProcessCommandLine(QApplication::arguments());
    // After the command line, whose messages stay English as the command-line tool's do; before
    // the first window, whose forms are translated as they are built.
    CTranslation::Install(app);
    LichtwartSettings::SetIdentity();
    CStartup::ApplyStyleSheet(app, QApplication::applicationDirPath());

    // The window releases its resources when it is closed; it is not deleted here.
    MainWindow *window = new MainWindow(allowRawHex);
    window->show();
    return app.exec();
}
