// The GUI's language under the user's locale. ctest runs this test under a German locale (LANG,
// and LANGUAGE before an English LANG) and under LANG=C and a French locale, for which there is no
// translation; LICHTWART_EXPECT tells which language the texts must be in. German texts are read
// from translations/lichtwart_de.ts, English ones from the forms and the marked constants.
#include "TsCatalogue.h"
#include "UiFormTexts.h"
#include "app/AboutDialog.h"
#include "app/CTranslation.h"
#include "widgets/CWarningAbortDialog.h"
#include "widgets/CWarningDialog.h"
#include "app/MainWindow.h"
#include "app/OptionsDialog.h"
#include "controller/FlasherSyncDialog.h"
#include "controller/SetOSI2AddressDialog.h"
#include "controller/StreloVisualDialog.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTranslator>
#include <QtTest>

namespace {

// The letter after a single '&', lower case; null when the text has no accelerator.
QChar Mnemonic(const QString &text)
{
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('&'))
            continue;
        if (text.at(i + 1) != QLatin1Char('&'))
            return text.at(i + 1).toLower();
        ++i;
    }
    return QChar();
}

// Adds the accelerator of one text; returns a sentence naming the clash, or an empty string.
QString AddMnemonic(QHash<QChar, QString> &taken, const QString &text)
{
    const QChar letter = Mnemonic(text);
    if (letter.isNull())
        return QString();
    if (taken.contains(letter))
        return QStringLiteral("\"%1\" and \"%2\" both use Alt+%3").arg(taken.value(letter), text, letter.toUpper());
    taken.insert(letter, text);
    return QString();
}

// Every clash of accelerators among the controls of one dialog.
QStringList DialogClashes(QWidget *dialog)
{
    QHash<QChar, QString> taken;
    QStringList clashes;
    for (QAbstractButton *button : dialog->findChildren<QAbstractButton *>())
        clashes << AddMnemonic(taken, button->text());
    for (QLabel *label : dialog->findChildren<QLabel *>())
        if (label->buddy())
            clashes << AddMnemonic(taken, label->text());
    for (QGroupBox *group : dialog->findChildren<QGroupBox *>())
        clashes << AddMnemonic(taken, group->title());
    for (QTabWidget *tabs : dialog->findChildren<QTabWidget *>())
        for (int i = 0; i < tabs->count(); ++i)
            clashes << AddMnemonic(taken, tabs->tabText(i));
    clashes.removeAll(QString());
    return clashes;
}

} // namespace

class TestTranslation : public QObject
{
    Q_OBJECT

private:
    bool m_german = false;
    TsCatalogue m_ts;

    static QString FormPath(const QString &relative)
    {
        return QStringLiteral(LICHTWART_SOURCE_DIR "/src/") + relative;
    }

    static UiFormTexts Form(const QString &relative)
    {
        UiFormTexts form;
        if (!form.Load(FormPath(relative)))
            qFatal("%s", qPrintable(form.ErrorText()));
        return form;
    }

    // The text the program must show for an English source text.
    QString Expected(const char *context, const QString &english) const
    {
        if (english.isEmpty())
            qFatal("no English text given for context %s", context);
        if (!m_german)
            return english;
        const QString german = m_ts.Translation(QLatin1String(context), english);
        if (german.isEmpty())
            qFatal("lichtwart_de.ts has no finished entry for [%s] \"%s\"", context, qPrintable(english));
        return german;
    }

    // The English text of a menu action: from the form, or for the one action the window makes in
    // code (the line capture, an addition of this program's own) the source text it passes to tr().
    static QString EnglishActionText(const UiFormTexts &form, const QString &objectName)
    {
        if (objectName == QLatin1String("actionCaptureLine"))
            return QStringLiteral("Capture Line to File...");
        return form.Text(objectName, "text");
    }

private slots:
    void initTestCase()
    {
        const QByteArray expect = qgetenv("LICHTWART_EXPECT");
        QVERIFY2(expect == "de" || expect == "en", "LICHTWART_EXPECT must be de or en");
        m_german = expect == "de";
        QVERIFY2(m_ts.Load(QStringLiteral(LICHTWART_TS_FILE)), qPrintable(m_ts.ErrorText()));
        const QString installed = CTranslation::Install(*qApp);
        QCOMPARE(installed.isEmpty(), !m_german);
        if (m_german)
            QVERIFY2(installed.startsWith(QLatin1String("de")), qPrintable(installed));
    }

    void theMainWindowsMenusSpeakTheLanguage()
    {
        const UiFormTexts form = Form(QStringLiteral("app/MainWindow.ui"));
        MainWindow window(false);
        QCOMPARE(window.windowTitle(), Expected("MainWindow", form.Text("MainWindow", "windowTitle")));
        const QStringList menus = {"menuExit", "menuView", "menuTools", "menuHelp"};
        for (const QString &name : menus) {
            QMenu *menu = window.findChild<QMenu *>(name);
            QVERIFY2(menu, qPrintable(name));
            QCOMPARE(menu->title(), Expected("MainWindow", form.Text(name, "title")));
            for (QAction *action : menu->actions()) {
                if (action->isSeparator())
                    continue;
                QCOMPARE(action->text(), Expected("MainWindow", EnglishActionText(form, action->objectName())));
            }
        }
    }

    void theOptionsDialogsTabsSpeakTheLanguage()
    {
        const UiFormTexts form = Form(QStringLiteral("app/OptionsDialog.ui"));
        OptionsDialog dialog;
        QCOMPARE(dialog.windowTitle(), Expected("OptionsDialog", form.Text("OptionsDialog", "windowTitle")));
        QTabWidget *tabs = dialog.findChild<QTabWidget *>();
        QVERIFY(tabs);
        QCOMPARE(tabs->count(), 5);
        for (int i = 0; i < tabs->count(); ++i)
            QCOMPARE(tabs->tabText(i), Expected("OptionsDialog", form.Text(tabs->widget(i)->objectName(), "title")));
    }

    // Qt's own texts follow the program's language: German standard buttons with the German
    // program, English ones otherwise (also where Qt has a translation of its own, as for French).
    void theStandardButtonsFollowTheProgramsLanguage()
    {
        OptionsDialog dialog;
        QPushButton *cancel = dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel);
        QString expected = QStringLiteral("Cancel");
        if (m_german) {
            QTranslator qtGerman;
            QVERIFY2(qtGerman.load(QLocale(QLocale::German), QLatin1String(CTranslation::QtFilePrefix),
                                   QStringLiteral("_"), CTranslation::QtTranslationsDirectory()),
                     "Qt's German translation is missing: install qt6-translations-l10n (scripts/install-deps.sh)");
            expected = qtGerman.translate("QPlatformTheme", "Cancel");
            QVERIFY(!expected.isEmpty() && expected != QLatin1String("Cancel"));
        }
        QCOMPARE(cancel->text(), expected);
    }

    void aWarningDialogSpeaksTheLanguage()
    {
        const UiFormTexts plain = Form(QStringLiteral("widgets/CWarningDialog.ui"));
        CWarningDialog warning;
        QCOMPARE(warning.windowTitle(), Expected("WarnDialog", plain.Text("WarnDialog", "windowTitle")));
        QCOMPARE(warning.findChild<QCheckBox *>("checkBoxHide")->text(),
                 Expected("WarnDialog", plain.Text("checkBoxHide", "text")));
        QCOMPARE(warning.findChild<QPushButton *>("btOk")->text(), Expected("WarnDialog", plain.Text("btOk", "text")));

        const UiFormTexts abort = Form(QStringLiteral("widgets/CWarningAbortDialog.ui"));
        CWarningAbortDialog abortable;
        for (const char *button : {"btContinue", "pbAbort"})
            QCOMPARE(abortable.findChild<QPushButton *>(button)->text(),
                     Expected("WarnAbortDialog", abort.Text(button, "text")));
    }

    void theFirmwareDialogsStatusTextsSpeakTheLanguage()
    {
        const UiFormTexts form = Form(QStringLiteral("firmware/ui/FWUpgradeDialog.ui"));
        CFirmwareUpgrade upgrade(nullptr, false);
        FWUpgradeDialog *dialog = upgrade.Dialog();
        QCOMPARE(dialog->windowTitle(), Expected("FWUpgradeDialog", form.Text("FWUpgradeDialog", "windowTitle")));
        for (const char *button : {"pbLoad", "pbProg", "pbRetry", "pbClose"})
            QCOMPARE(dialog->findChild<QPushButton *>(button)->text(),
                     Expected("FWUpgradeDialog", form.Text(button, "text")));
        QLabel *status = dialog->findChild<QLabel *>("txtStatus");
        QLabel *software = dialog->findChild<QLabel *>("txtDevSWVersion");

        upgrade.ConnectionChanged(false);
        QCOMPARE(status->text(), Expected("FWUpgradeDialog", CUpgradeProcedure::kTextUnknown));
        QCOMPARE(software->text(), Expected("FWUpgradeDialog", CUpgradeProcedure::kTextUnknown));
        upgrade.ConnectionChanged(true);
        QCOMPARE(status->text(), Expected("FWUpgradeDialog", CFirmwareUpgrade::kTextConnected));
        upgrade.SwitchModeFailed();
        QCOMPARE(status->text(), Expected("FWUpgradeDialog", CFirmwareUpgrade::kTextSwitchFailed));
        upgrade.EndUpgradeProcess();
        QCOMPARE(status->text(), Expected("FWUpgradeDialog", CFirmwareUpgrade::kTextAllDone));
        upgrade.ShutDown();
    }

    void theMenusAcceleratorsDoNotCollide()
    {
        MainWindow window(false);
        // The menu bar's accelerators share Alt with the actions' Alt shortcuts.
        QHash<QChar, QString> bar;
        QStringList clashes;
        for (QAction *action : window.findChildren<QAction *>()) {
            const QKeySequence shortcut = action->shortcut();
            if (!shortcut.isEmpty() && shortcut[0].keyboardModifiers() == Qt::AltModifier)
                bar.insert(QChar(shortcut[0].key()).toLower(), action->text());
        }
        for (QAction *menuAction : window.menuBar()->actions()) {
            clashes << AddMnemonic(bar, menuAction->text());
            QHash<QChar, QString> items;
            for (QAction *action : menuAction->menu()->actions())
                clashes << AddMnemonic(items, action->text());
        }
        clashes.removeAll(QString());
        QVERIFY2(clashes.isEmpty(), qPrintable(clashes.join(QLatin1String("; "))));
    }

    void theDialogsAcceleratorsDoNotCollide()
    {
        CFirmwareUpgrade upgrade(nullptr, false);
        std::vector<std::unique_ptr<QWidget>> dialogs;
        dialogs.emplace_back(new OptionsDialog);
        dialogs.emplace_back(new AboutDialog);
        dialogs.emplace_back(new CWarningDialog);
        dialogs.emplace_back(new CWarningAbortDialog);
        dialogs.emplace_back(new FlasherSyncDialog);
        dialogs.emplace_back(new SetOSI2AddressDialog);
        dialogs.emplace_back(new StreloVisualDialog);
        QStringList clashes;
        for (const auto &dialog : dialogs)
            for (const QString &clash : DialogClashes(dialog.get()))
                clashes << dialog->objectName() + QLatin1String(": ") + clash;
        for (const QString &clash : DialogClashes(upgrade.Dialog()))
            clashes << QLatin1String("FWUpgradeDialog: ") + clash;
        upgrade.ShutDown();
        QVERIFY2(clashes.isEmpty(), qPrintable(clashes.join(QLatin1String("; "))));
    }

    // The accelerator check itself finds a clash.
    void aClashIsFound()
    {
        QDialog dialog;
        new QPushButton(QStringLiteral("&Laden"), &dialog);
        new QCheckBox(QStringLiteral("&Löschen"), &dialog);
        new QPushButton(QStringLiteral("Save && &Quit"), &dialog);
        QCOMPARE(DialogClashes(&dialog).size(), 1);
    }
};

QTEST_MAIN(TestTranslation)
#include "tst_translation.moc"
