// Where the logical printers keep their settings, and the switch to the registry profile that
// every access of them makes.
#pragma once
#include <cstdint>

#include "tarngdi32.h"

namespace tarn::print {

constexpr const char *kPrintersSection = "KELVO_Printers";
constexpr const char *kSetupSection = "KELVO_Printer_Setup";
constexpr const char *kDevmodeSection = "KELVO_Printer";
constexpr const char *kDevmodeFile = "KELVO_Devmode";
constexpr const char *kUseCopyDrv = "UseCopyDrv";
// The fixed part of a stored device mode; its driver's own bytes follow.
constexpr uint32_t kDevmodeBytes = 156;
// Printer and role names are read with at most this many characters.
constexpr int32_t kNameChars = 128;

// Profile type 1 for as long as it lives, then the type that was set before.
class RegistryProfile {
public:
    RegistryProfile() : previous_(koSetProfileType(1)) {}
    ~RegistryProfile() { koSetProfileType(previous_); }
    RegistryProfile(const RegistryProfile &) = delete;
    RegistryProfile &operator=(const RegistryProfile &) = delete;

private:
    int32_t previous_;
};

}  // namespace tarn::print
