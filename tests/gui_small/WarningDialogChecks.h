#pragma once

#include "widgets/CWarningDialogBase.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QPixmap>
#include <QtTest>

// What both warning dialogs share, checked the same way for each: the named child widgets, the
// common part of the form, the message that fits the dialog and the "do not show again" box.
namespace WarningDialogChecks
{

template <class T> T *Child(const QWidget &dialog, const char *name)
{
    T *child = dialog.findChild<T *>(name);
    if (!child)
        qFatal("the warning dialog has no %s", name);
    return child;
}

// Title, modality, icon, empty word-wrapped message, unticked check box, fixed size.
inline void CommonForm(const CWarningDialogBase &dialog)
{
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Warning"));
    QVERIFY(dialog.isModal());
    QCOMPARE(Child<QLabel>(dialog, "lblWarnIcon")->pixmap().toImage(), QPixmap(":/32x32/dlg-warning").toImage());
    const QLabel *text = Child<QLabel>(dialog, "lblWarnText");
    QVERIFY(text->text().isEmpty());
    QVERIFY(text->wordWrap());
    const QCheckBox *hide = Child<QCheckBox>(dialog, "checkBoxHide");
    QCOMPARE(hide->text(), QStringLiteral("Don't show this message in future"));
    QVERIFY(!hide->isChecked());
    QCOMPARE(dialog.layout()->sizeConstraint(), QLayout::SetFixedSize);
}

inline void SetTextShowsTheMessageAndFitsTheDialog(CWarningDialogBase &dialog)
{
    dialog.SetText(QStringLiteral("Short."));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QSize shortSize = dialog.size();
    QCOMPARE(dialog.minimumSize(), dialog.maximumSize());

    const QString longText = QStringLiteral("The firmware will be uploaded at a high baud rate. ").repeated(8);
    dialog.SetText(longText);
    QCOMPARE(Child<QLabel>(dialog, "lblWarnText")->text(), longText);
    QVERIFY2(dialog.height() > shortSize.height(), "the dialog did not grow with its text");
    QCOMPARE(dialog.minimumSize(), dialog.maximumSize());
}

inline void ShowAgainFollowsTheCheckBox(CWarningDialogBase &dialog)
{
    QVERIFY(dialog.ShowAgain());
    Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(true);
    QVERIFY(!dialog.ShowAgain());
    Child<QCheckBox>(dialog, "checkBoxHide")->setChecked(false);
    QVERIFY(dialog.ShowAgain());
}

} // namespace WarningDialogChecks
