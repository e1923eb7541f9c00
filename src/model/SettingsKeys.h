#pragma once

#include <QLatin1String>

namespace ternvault::keys {

inline constexpr QLatin1String serverIP("ternvault.serverIP");
inline constexpr QLatin1String agentPort("ternvault.agentPort");
inline constexpr QLatin1String agentToken("ternvault.agentToken");
inline constexpr QLatin1String smbUser("ternvault.smbUser");
inline constexpr QLatin1String selectedShare("ternvault.selectedShare");
inline constexpr QLatin1String setupComplete("ternvault.setupComplete");
inline constexpr QLatin1String autoConnect("ternvault.autoConnect");
inline constexpr QLatin1String showDesktopIcon("ternvault.showDesktopIcon");
inline constexpr QLatin1String legalAccepted("ternvault.legalAccepted");
inline constexpr QLatin1String legalVersion("ternvault.legalVersion");
/// Seconds since 1970 UTC, with fraction.
inline constexpr QLatin1String legalAcceptedAt("ternvault.legalAcceptedAt");
inline constexpr QLatin1String migratedFromMossBox("ternvault.migratedFromMossBox");
/// Account of the SMB password in the keychain, and the settings key under which old versions kept it in
/// plain text.
inline constexpr QLatin1String smbPassword("ternvault.smbPassword");

inline constexpr QLatin1String legacyAgentToken("mossbox.agentToken");
inline constexpr QLatin1String legacySmbPassword("mossbox.smbPassword");
inline constexpr QLatin1String legacyKeychainService("space.larkspur.mossbox");

} // namespace ternvault::keys
