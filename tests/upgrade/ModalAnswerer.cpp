#include "ModalAnswerer.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QTest>

namespace {

constexpr int kLeftOpenMs = 5000;
constexpr int kTypingAttempts = 100;
constexpr int kActivationMs = 2000;

} // namespace

ModalAnswerer::ModalAnswerer()
{
    m_timer.setInterval(20);
    connect(&m_timer, &QTimer::timeout, this, &ModalAnswerer::Poll);
    m_timer.start();
}

void ModalAnswerer::Poll()
{
    QWidget *window = QApplication::activeModalWidget();
    if (!window || !window->isVisible())
        return;
    if (m_handled.contains(QPointer<QWidget>(window))) {
        CloseIfLeftOpen(window);
        return;
    }
    // A window the code shows modelessly (the upgrade dialog itself) is not ours to answer.
    auto *dialog = qobject_cast<QDialog *>(window);
    if (!dialog || !dialog->testAttribute(Qt::WA_ShowModal) || window->objectName() == QLatin1String("FWUpgradeDialog"))
        return;
    m_handled.append(window);
    m_sinceHandled.start();
    m_seen << QString::fromLatin1(window->metaObject()->className());
    if (m_handlers.empty()) {
        m_unexpected << m_seen.last();
        dialog->reject();
        return;
    }
    Handler handler = std::move(m_handlers.front());
    m_handlers.pop_front();
    handler(window);
}

void ModalAnswerer::CloseIfLeftOpen(QWidget *window)
{
    if (!m_sinceHandled.isValid() || m_sinceHandled.elapsed() < kLeftOpenMs)
        return;
    m_unexpected << QStringLiteral("%1 left open").arg(window->metaObject()->className());
    m_sinceHandled.invalidate();
    qobject_cast<QDialog *>(window)->reject();
}

ModalAnswerer::Handler ModalAnswerer::ChooseFile(const QString &path)
{
    return [path](QWidget *window) { Choose(window, path); };
}

void ModalAnswerer::Choose(QWidget *window, const QString &path)
{
    QPointer<QFileDialog> fileDialog(qobject_cast<QFileDialog *>(window));
    if (!fileDialog || path.isEmpty()) {
        qobject_cast<QDialog *>(window)->reject();
        return;
    }
    Activate(fileDialog);
    // The dialog reads its folder in the background and may still change its selection; the name
    // is typed again until the dialog takes it.
    for (int attempt = 0; attempt < kTypingAttempts && fileDialog && fileDialog->isVisible(); ++attempt) {
        EnterName(fileDialog, path);
        static_cast<QDialog *>(fileDialog.data())->accept(); // QFileDialog hides accept(), QDialog offers it
        if (fileDialog && fileDialog->isVisible())
            QTest::qWait(50);
    }
    if (fileDialog && fileDialog->isVisible()) {
        qWarning("The file dialog did not take %s; it is cancelled", qPrintable(path));
        fileDialog->reject();
    }
}

// Not QFileDialog::selectFile(): it leaves the file name field alone while the field has the
// keyboard focus, so as not to overwrite what the user is typing. The field gets the focus when
// the window system activates the dialog, at a moment no test controls; selectFile() called after
// it leaves the field empty, the dialog then names its folder as the choice, and accept() merely
// opens that folder, leaving exec() waiting for ever. The name is therefore typed into the field,
// and always into the active dialog, the state in which the user types it.
void ModalAnswerer::TypeFileName(QFileDialog *fileDialog, const QString &path)
{
    Activate(fileDialog);
    EnterName(fileDialog, path);
}

void ModalAnswerer::Activate(QFileDialog *fileDialog)
{
    auto *field = fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    fileDialog->activateWindow();
    if (!QTest::qWaitFor([field] { return field->hasFocus(); }, kActivationMs))
        qWarning("The file dialog did not become active; its name is typed all the same");
}

void ModalAnswerer::EnterName(QFileDialog *fileDialog, const QString &path)
{
    const QFileInfo file(path);
    fileDialog->setDirectory(file.absolutePath());
    const bool inItsFolder = fileDialog->directory().canonicalPath() == file.absoluteDir().canonicalPath();
    fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))
        ->setText(inItsFolder ? file.fileName() : QDir::toNativeSeparators(file.absoluteFilePath()));
}
