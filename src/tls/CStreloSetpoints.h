#pragma once

#include <optional>
#include <string>
#include <vector>

// The lamp settings of the remote control, each as the image and value of the setpoint command:
// the remote-control dialog's buttons and the CLI's `lamp` names both set the head through this
// table. The head has no image "off": off is the red image with value 0. The flashing images
// take their value from the flasher cycle period.
class CStreloSetpoints
{
public:
    enum class Lamp { Red, Green, Yellow, YellowSteady, YellowFlasher, RedYellow, Off };

    struct Setpoint
    {
        int image = 0;
        int value = 0;
    };

    static Setpoint For(Lamp lamp, int cyclePeriodMs);
    // The lamp of a name ("red", "green", "yellow", "yellow-steady", "yellow-flasher",
    // "red-yellow", "off"); none for any other name.
    static std::optional<Lamp> FromName(const std::string &name);
    // The names in the order above.
    static std::vector<std::string> Names();
};
