// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILESCHEMA_H
#define PROFILESCHEMA_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

// The groups and keys of the settings file of the SIP profiles.

inline constexpr char SETTINGS_FILE_NAME[] = "ormu_sipsetup.cfg";

inline constexpr char SUMMARY_GROUP[] = "ProfileSummary";
inline constexpr char TOTAL_KEY[] = "TotalProfile"; // int: the number of profiles
inline constexpr char DEFAULT_GROUP[] = "SystemDefault";
inline constexpr char DEFAULT_KEY[] = "Profile"; // text: the group of the default profile
inline constexpr char INPUT_GROUP[] =
    "InputSettings"; // the last input: USER_ID_KEY, PASSWORD_KEY, REMEMBER_KEY

inline constexpr char DISPLAY_NAME_KEY[] = "DisplayName";
inline constexpr char SERVER_KEY[] = "Server";
inline constexpr char PORT_KEY[] = "PortNum";
inline constexpr char USER_ID_KEY[] = "UserID";
inline constexpr char PASSWORD_KEY[] = "Password";
inline constexpr char AUTO_CONNECT_KEY[] = "AutoConnect";
inline constexpr char DEFAULT_PROFILE_KEY[] = "DefaultProfile";
inline constexpr char REMEMBER_KEY[] = "RemPassword";

struct ProfileKey
{
    const char* name;
    // The type of the value, and the value of a new profile, which a missing key stands for too.
    std::variant<const char*, unsigned int, bool> standard;
};

// The keys of a profile's group in the order in which they are written.
inline constexpr auto PROFILE_KEYS = std::to_array<ProfileKey>({{DISPLAY_NAME_KEY, ""},
                                                                {SERVER_KEY, ""},
                                                                {PORT_KEY, 5060U},
                                                                {USER_ID_KEY, ""},
                                                                {PASSWORD_KEY, ""},
                                                                {AUTO_CONNECT_KEY, true},
                                                                {"Register", ""},
                                                                {"Network", "internet"},
                                                                {"Locked", false},
                                                                {DEFAULT_PROFILE_KEY, false},
                                                                {"NeedUserIDPass", true},
                                                                {REMEMBER_KEY, false}});

// What a missing profile key of that name stands for.
template <class Value>
constexpr Value standardValue(std::string_view name)
{
    return std::get<Value>(
        std::find_if(PROFILE_KEYS.begin(), PROFILE_KEYS.end(), [name](const ProfileKey& key) {
            return name == key.name;
        })->standard);
}

// The path of the settings file in that directory, whose name may end in "/".
std::string settingsFileIn(std::string_view directory);

// "Profile" and the number.
std::string groupOf(uint64_t number);
// Whether the name is that of a profile's group: "Profile" and a number without leading zeros, however large.
bool isProfileGroup(std::string_view group);
// The number of a profile's group; the greatest one for a number that is greater still.
uint64_t numberOf(std::string_view group);
// Orders profiles' groups by their numbers.
bool isGroupBefore(std::string_view a, std::string_view b);

// The group of the lowest number that isTaken(group) denies.
template <class IsTaken>
std::string firstFreeGroup(IsTaken isTaken)
{
    uint64_t number = 0;
    while (isTaken(groupOf(number)))
        ++number;
    return groupOf(number);
}

#endif
