#include "ServiceRecords.h"

#include <algorithm>
#include <arpa/nameser.h>
#include <array>
#include <limits>
#include <optional>
#include <resolv.h>

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

} // namespace

std::vector<ServiceTarget> parseServiceRecords(std::span<const unsigned char> message)
{
    std::vector<ServiceTarget> targets;
    ns_msg parsed;
    if (message.size() > std::numeric_limits<uint16_t>::max() ||
        ns_initparse(message.data(), static_cast<int>(message.size()), &parsed) != 0)
        return targets;
    for (int i = 0; i < ns_msg_count(parsed, ns_s_an) && targets.size() < MOST_TARGETS; ++i) {
        ns_rr record;
        if (ns_parserr(&parsed, ns_s_an, i, &record) != 0)
            continue;
        if (auto target = parseRecord(message, record))
            targets.push_back(std::move(*target));
    }
    std::stable_sort(targets.begin(), targets.end(), [](const ServiceTarget& a, const ServiceTarget& b) {
        return a.priority != b.priority ? a.priority < b.priority : a.weight > b.weight;
    });
    return targets;
}
