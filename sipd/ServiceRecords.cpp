// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ServiceRecords.h"

#include <algorithm>
#include <arpa/nameser.h>
#include <array>
#include <limits>
#include <optional>
#include <resolv.h>
#include <string_view>
#include <strings.h>

namespace {

constexpr size_t MOST_TARGETS = 8;

std::optional<ServiceTarget> parseRecord(std::span<const unsigned char> message, const ns_rr& record)
{
    constexpr int fixedPart = 6;
    const int length = ns_rr_rdlen(record);
    if (ns_rr_type(record) != ns_t_srv || length <= fixedPart)
        return std::nullopt;
    const unsigned char* data = ns_rr_rdata(record);
    std::array<char, NS_MAXDNAME> host{};
    if (dn_expand(message.data(), message.data() + message.size(), data + fixedPart, host.data(),
                  host.size()) != length - fixedPart)
        return std::nullopt;
    ServiceTarget target{host.data(), static_cast<uint16_t>(ns_get16(data + 4)),
                         static_cast<int>(ns_get16(data)), static_cast<int>(ns_get16(data + 2))};
    if (target.port == 0 && !target.host.empty())
        return std::nullopt;
    return target;
}

// A text with its length before it. Takes it from the data; nothing when that is too short.
std::optional<std::string> takeText(std::span<const unsigned char>& data)
{
    if (data.empty() || data.size() <= data[0])
        return std::nullopt;
    const auto text = data.subspan(1, data[0]);
    data = data.subspan(1 + text.size());
    return std::string(text.begin(), text.end());
}

bool isWord(const std::string& a, const char* b)
{
    return a.size() == std::string_view(b).size() && strncasecmp(a.c_str(), b, a.size()) == 0;
}

std::optional<Transport> transportOfService(const std::string& service)
{
    if (isWord(service, "SIP+D2U"))
        return Transport::Udp;
    if (isWord(service, "SIP+D2T"))
        return Transport::Tcp;
    if (isWord(service, "SIPS+D2T"))
        return Transport::Tls;
    return std::nullopt;
}

std::optional<ServiceName> parseNamingRecord(std::span<const unsigned char> message, const ns_rr& record)
{
    constexpr size_t fixedPart = 4;
    std::span<const unsigned char> data(ns_rr_rdata(record), ns_rr_rdlen(record));
    if (ns_rr_type(record) != ns_t_naptr || data.size() <= fixedPart)
        return std::nullopt;
    ServiceName service;
    service.order = static_cast<int>(ns_get16(data.data()));
    service.preference = static_cast<int>(ns_get16(data.data() + 2));
    data = data.subspan(fixedPart);
    const auto flags = takeText(data);
    const auto protocol = takeText(data);
    const auto expression = takeText(data);
    const auto transport = protocol ? transportOfService(*protocol) : std::nullopt;
    // The flag says that SRV records follow.
    if (!expression || !transport || !isWord(*flags, "s"))
        return std::nullopt;
    std::array<char, NS_MAXDNAME> name{};
    if (dn_expand(message.data(), message.data() + message.size(), data.data(), name.data(), name.size()) !=
        static_cast<int>(data.size()))
        return std::nullopt;
    service.name = name.data();
    service.transport = *transport;
    return service.name.empty() ? std::nullopt : std::optional(service);
}

// What the function makes of each answer of the message, at most as many as anybody needs.
template <class Result>
std::vector<Result> parseAnswers(std::span<const unsigned char> message,
                                 std::optional<Result> (*parse)(std::span<const unsigned char>, const ns_rr&))
{
    std::vector<Result> results;
    ns_msg parsed;
    if (message.size() > std::numeric_limits<uint16_t>::max() ||
        ns_initparse(message.data(), static_cast<int>(message.size()), &parsed) != 0)
        return results;
    for (int i = 0; i < ns_msg_count(parsed, ns_s_an) && results.size() < MOST_TARGETS; ++i) {
        ns_rr record;
        if (ns_parserr(&parsed, ns_s_an, i, &record) != 0)
            continue;
        if (auto result = parse(message, record))
            results.push_back(std::move(*result));
    }
    return results;
}

} // namespace

std::vector<ServiceTarget> parseServiceRecords(std::span<const unsigned char> message)
{
    auto targets = parseAnswers(message, parseRecord);
    std::stable_sort(targets.begin(), targets.end(), [](const ServiceTarget& a, const ServiceTarget& b) {
        return a.priority != b.priority ? a.priority < b.priority : a.weight > b.weight;
    });
    return targets;
}

std::vector<ServiceName> parseServiceNames(std::span<const unsigned char> message)
{
    auto services = parseAnswers(message, parseNamingRecord);
    std::stable_sort(services.begin(), services.end(), [](const ServiceName& a, const ServiceName& b) {
        return a.order != b.order ? a.order < b.order : a.preference < b.preference;
    });
    return services;
}
