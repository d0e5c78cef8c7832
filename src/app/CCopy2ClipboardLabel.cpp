#include "CCopy2ClipboardLabel.h"

#include <QClipboard>
#include <QGuiApplication>

CCopy2ClipboardLabel::CCopy2ClipboardLabel(QWidget *parent) : QLabel(parent) {}

void CCopy2ClipboardLabel::mousePressEvent(QMouseEvent *)
{
    QString uid = text();
    if (uid.isEmpty())
        return;
    uid.remove(QStringLiteral("UID:"), Qt::CaseSensitive);
    uid.remove(QLatin1Char(' '));
    QGuiApplication::clipboard()->setText(uid, QClipboard::Clipboard);
}
