#pragma once

#include <string>

// Why the last Open or Configure of a port failed: the step that failed, the POSIX error number of
// the failed call (on Windows the port maps the system's code to the number of the same meaning)
// and the device path the port name was taken to mean. The port itself only
// records these facts; turning them into advice for the user needs the system's process and
// group tables and the list of ports present, which belong to the layers above.
struct PortOpenFailure
{
    enum class Step {
        None,            // the last open and configure succeeded (or none was tried)
        Open,            // the device could not be opened; `error` says why
        InUse,           // opened, but another program holds it
        NotSerial,       // opened, but it is not a terminal device
        SettingsRefused, // the device refused the settings; `error` may be 0 (settings not taken)
    };

    Step step = Step::None;
    int error = 0;
    std::string portName;
    std::string path;
    // The settings asked for when the device refused them (selectors as CAsync's).
    int baudIndex = -1;
    int dataBits = -1;
    int stopBits = -1;
    int parity = -1;
};
