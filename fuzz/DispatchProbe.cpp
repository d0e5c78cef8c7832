#include "DispatchProbe.h"

#include <cstdio>

DispatchProbe::DispatchProbe() = default;

DispatchProbe::~DispatchProbe()
{
    ShutDown();
}

void DispatchProbe::SetDeviceAddress(int osi7Address)
{
    // Connect stores the address; the port is closed, so nothing goes out, and Disconnect stops
    // the timers it armed.
    Connect(1, osi7Address);
    Disconnect();
}

void DispatchProbe::OnActualValue(int image, bool on, bool blink)
{
    m_reports.push_back("actual " + std::to_string(image) + " " + std::to_string(on) + " " + std::to_string(blink));
}

void DispatchProbe::OnDefectValue(int image, bool ok)
{
    m_reports.push_back("defect " + std::to_string(image) + " " + std::to_string(ok));
}

void DispatchProbe::OnLuminosity(bool full)
{
    m_reports.push_back("luminosity " + std::to_string(full));
}

void DispatchProbe::OnCurrentDrain(int image, double milliAmps)
{
    char text[64];
    std::snprintf(text, sizeof text, "current %d %.1f", image, milliAmps);
    m_reports.push_back(text);
}

void DispatchProbe::OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease)
{
    char text[64];
    std::snprintf(text, sizeof text, "version %d %d %d %d %d %d", hwMajor, hwMinor, hwRevision, swMajor, swMinor,
                  swRelease);
    m_reports.push_back(text);
}

void DispatchProbe::OnDevice(const STRELO_PRODUCT *product)
{
    m_reports.push_back("device " + (product != nullptr ? product->id.toStdString() : std::string("none")));
}

void DispatchProbe::OnUID(const std::string &uid)
{
    m_reports.push_back("uid " + uid);
}
