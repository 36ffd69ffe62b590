// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Feeds arbitrary bytes to the reading of SRV and NAPTR records, as a name server's answer.

#include "Require.h"
#include "ServiceRecords.h"

#include <algorithm>
#include <cctype>
#include <resolv.h>

// How many targets all inputs together had, for those who replay them.
size_t targetCount = 0;
// And how many services.
size_t serviceCount = 0;

namespace {

using Bytes = std::vector<unsigned char>;

void append16(Bytes& bytes, unsigned int number)
{
    bytes.push_back(static_cast<unsigned char>(number >> 8U));
    bytes.push_back(static_cast<unsigned char>(number));
}

Bytes encodedName(const std::string& name)
{
    Bytes encoded(NS_MAXCDNAME);
    const int size =
        dn_comp(name.c_str(), encoded.data(), static_cast<int>(encoded.size()), nullptr, nullptr);
    require(size > 0);
    encoded.resize(static_cast<size_t>(size));
    return encoded;
}

// A message that answers with these targets, and has no question.
Bytes answerWith(const std::vector<ServiceTarget>& targets)
{
    Bytes message = {0, 0, 0x81, 0x80, 0, 0, 0, static_cast<unsigned char>(targets.size()), 0, 0, 0, 0};
    for (const ServiceTarget& target : targets) {
        const Bytes name = encodedName(target.host);
        message.push_back(0); // the owner: the root
        append16(message, ns_t_srv);
        append16(message, ns_c_in);
        message.insert(message.end(), {0, 0, 0, 60});
        append16(message, static_cast<unsigned int>(6 + name.size()));
        append16(message, static_cast<unsigned int>(target.priority));
        append16(message, static_cast<unsigned int>(target.weight));
        append16(message, target.port);
        message.insert(message.end(), name.begin(), name.end());
    }
    return message;
}

bool isPrintable(const std::string& name)
{
    return name.size() < NS_MAXDNAME &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) { return c > ' ' && c < 0x7f; });
}

void check(const ServiceTarget& target)
{
    require(target.port != 0 || target.host.empty());
    require(isPrintable(target.host));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto targets = parseServiceRecords({data, size});
    require(targets.size() <= 8);
    for (const ServiceTarget& target : targets)
        check(target);
    require(std::is_sorted(targets.begin(), targets.end(), [](const auto& a, const auto& b) {
        return a.priority != b.priority ? a.priority < b.priority : a.weight > b.weight;
    }));
    require(parseServiceRecords(answerWith(targets)) == targets);
    targetCount += targets.size();
    const auto services = parseServiceNames({data, size});
    require(services.size() <= 8);
    for (const ServiceName& service : services)
        require(!service.name.empty() && isPrintable(service.name));
    require(std::is_sorted(services.begin(), services.end(), [](const auto& a, const auto& b) {
        return a.order != b.order ? a.order < b.order : a.preference < b.preference;
    }));
    serviceCount += services.size();
    return 0;
}
