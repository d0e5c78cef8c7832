#pragma once

#include <QList>
#include <QMetaType>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <vector>

// The one table of persistent settings: every key with its type and default. Every component
// reads and writes through a default-constructed QSettings with these keys, at the key's point of
// use, so a value written by the options dialog takes effect there next time.
class LichtwartSettings
{
public:
    static constexpr const char *OrganisationName = "Varnholt GmbH";
    static constexpr const char *OrganisationDomain = "varnholt.example";
    static constexpr const char *ApplicationName = "Lichtwart";

    static constexpr const char *InterfaceDevice = "interface/device";
    static constexpr const char *InterfaceBaudrate = "interface/baudrate";
    static constexpr const char *TraceEnabled = "trace/enabled";
    static constexpr const char *TraceLevel = "trace/level";
    static constexpr const char *TraceLines = "trace/lines";
    static constexpr const char *AddressOsi2 = "address/osi2";
    static constexpr const char *AddressOsi7 = "address/osi7";
    static constexpr const char *AddressAssign = "address/assign";
    static constexpr const char *FlasherCyclePeriod = "flasher/cycleperiod";
    static constexpr const char *FlasherSoftSyncCycles = "flasher/softsynccycles";
    static constexpr const char *FlasherSyncOsi2Broadcast = "flasher/syncosi2broadcast";
    static constexpr const char *FlasherSyncOsi7Broadcast = "flasher/syncosi7broadcast";
    static constexpr const char *BehaviorIgnoreActVal = "behavior/ignoreactval";
    static constexpr const char *FirmwareBaudrate = "firmware/baudrate";
    static constexpr const char *FirmwareWarnOutdated = "firmware/warnings/outdated";
    static constexpr const char *FirmwareWarnBaudrate = "firmware/warnings/baudrate";
    static constexpr const char *FirmwareWarnProgStart = "firmware/warnings/progstart";
    // Added to the firmware warnings: warn when a package names another product than the
    // connected head's.
    static constexpr const char *FirmwareWarnProduct = "firmware/warnings/product";
    static constexpr const char *FirmwareDirectory = "firmware/directory";
    static constexpr const char *OptionsDlgSize = "options-dlg/size";
    static constexpr const char *MainWindowSize = "mainwindow/size";
    static constexpr const char *MainWindowPosition = "mainwindow/position";

    struct Entry
    {
        const char *key;
        QMetaType::Type type;
        QVariant defaultValue; // invalid where the table has no default
    };

    // Every key of the table, in the table's order.
    static const std::vector<Entry> &Table();
    // The table default of a key; an invalid value for a key without one (or an unknown key).
    static QVariant Default(const char *key);
    // The stored value, or the table default when the key is absent.
    static QVariant Read(const QSettings &settings, const char *key);

    // Readers whose own default deviates from the table (kept on purpose):
    // the firmware upload reads the device name without a default (empty string) ...
    static QString ReadUploadDevice(const QSettings &settings);
    // ... and starts the upload with the rate read without a default (absent reads as 0);
    static int ReadUploadBaudrateWithoutDefault(const QSettings &settings);
    // the baud-rate warning uses the key's own name as the default text, which converts to 0.
    static int ReadUploadBaudrateForWarning(const QSettings &settings);

    // The rates offered for "interface/baudrate" and "firmware/baudrate", lowest first; the head
    // search tries the same rates.
    static QList<int> BaudRates();

    // Organisation, domain and application name, set before the first settings object.
    static void SetIdentity();
};
