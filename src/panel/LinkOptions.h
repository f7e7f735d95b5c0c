#pragma once
// How the panel finds its unit, and where a microcontroller update's loader
// image comes from.
#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace rz48::emu {
class EmulatedUnit;
}

// Where the link looks for the unit.
struct LinkOptions {
    QString searchDirectory;   // empty: the default ("/dev")
    QString explicitPort;      // set: only this port is probed
    std::function<bool()> driverCheck; // set: replaces the platform's USB serial driver check
    // The microcontroller loader image: read from this file when set, else
    // from the default places; a built-in emulated unit hands its own.
    QString loaderPath;
    QByteArray simulatedLoader;
    bool simulated = false;
    // The built-in emulated unit, whose output the Unit output window shows.
    std::shared_ptr<rz48::emu::EmulatedUnit> simulatedUnit;
};
