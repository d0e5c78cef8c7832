#pragma once

#include "tls/CStreloDevice.h"

#include <string>
#include <vector>

// The OSI 7 layer without a port or a link: the test sets the head's OSI 7 address, hands telegrams
// to DispatchReply and reads back every report the dispatch made, as one text each, for example
// "actual 107 1 0", "defect 108 0", "luminosity 1", "current 107 100.0", "version 2 1 0 1 4 2",
// "device strelo-002" / "device none", "uid 0102...".
class DispatchProbe : public CStreloDevice
{
public:
    DispatchProbe();
    ~DispatchProbe() override;

    void SetDeviceAddress(int osi7Address);
    const std::vector<std::string> &Reports() const { return m_reports; }
    void ClearReports() { m_reports.clear(); }

protected:
    void OnActualValue(int image, bool on, bool blink) override;
    void OnDefectValue(int image, bool ok) override;
    void OnLuminosity(bool full) override;
    void OnCurrentDrain(int image, double milliAmps) override;
    void OnVersion(int hwMajor, int hwMinor, int hwRevision, int swMajor, int swMinor, int swRelease) override;
    void OnDevice(const STRELO_PRODUCT *product) override;
    void OnUID(const std::string &uid) override;

private:
    std::vector<std::string> m_reports;
};
