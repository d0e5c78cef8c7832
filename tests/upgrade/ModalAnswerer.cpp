#include "ModalAnswerer.h"

#include <QApplication>
#include <QDialog>

namespace {

constexpr int kLeftOpenMs = 5000;

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
