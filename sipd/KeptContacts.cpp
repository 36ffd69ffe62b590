// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "KeptContacts.h"

#include "Log.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr char CONTACTS_FILE[] = "contacts";
constexpr char NEW_CONTACTS_FILE[] = "contacts.new";
constexpr std::string_view CONTACTS_HEAD = "sipd contacts 1\n";

// A REGISTER must fit into a packet.
constexpr std::ptrdiff_t MOST_LEFT_CONTACTS = 4;
constexpr size_t MOST_KEPT_CONTACTS = 1000;
constexpr size_t LARGEST_FILE = 1 << 20;

// It becomes a part of a header.
bool isContactUri(std::string_view text)
{
    return (text.starts_with("sip:") || text.starts_with("sips:")) && text.size() <= 1000 &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return c > ' ' && c < '\x7f' && std::string_view("<>\",\\").find(c) == std::string_view::npos;
           });
}

std::string withoutBlanks(const std::string& text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7f && c != '%')
            result += c;
        else
            result += {'%', digits[byte >> 4U], digits[byte & 0xfU]};
    }
    return result;
}

const char* valueOfEnvironment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? value : nullptr;
}

void makeDirectories(const std::string& path)
{
    for (size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        mkdir(path.substr(0, end).c_str(), 0700);
    }
}

// Whether nobody but this user can change it.
bool isOwn(int fd, mode_t type)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && (status.st_mode & S_IFMT) == type && status.st_uid == geteuid() &&
           (status.st_mode & 0022) == 0;
}

// Nothing when it cannot be read to its end, or is too long.
std::optional<std::string> readAll(int fd)
{
    std::string text(LARGEST_FILE, '\0');
    size_t length = 0;
    ssize_t count = 0;
    while (length < text.size() && (count = ::read(fd, text.data() + length, text.size() - length)) > 0)
        length += static_cast<size_t>(count);
    if (count < 0 || length == text.size())
        return std::nullopt;
    text.resize(length);
    return text;
}

bool writeAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(fd, text.data(), text.size());
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

// The accounts and contacts of the file's text. Nothing when it is damaged.
std::optional<std::vector<std::pair<std::string, std::string>>> parseContacts(std::string_view text)
{
    if (!text.starts_with(CONTACTS_HEAD))
        return std::nullopt;
    text.remove_prefix(CONTACTS_HEAD.size());
    std::vector<std::pair<std::string, std::string>> contacts;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        if (end == std::string_view::npos)
            return std::nullopt;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        const size_t blank = line.rfind(' ');
        const size_t firstBlank = line.find(' ');
        if (firstBlank == 0 || firstBlank + 1 >= blank || std::count(line.begin(), line.end(), ' ') != 2 ||
            !isContactUri(line.substr(blank + 1)) || contacts.size() == MOST_KEPT_CONTACTS)
            return std::nullopt;
        contacts.emplace_back(line.substr(0, blank), line.substr(blank + 1));
    }
    return contacts;
}

} // namespace

KeptContacts::KeptContacts(std::string directory) : path_(std::move(directory))
{
    open();
}

std::string KeptContacts::standardDirectory()
{
    if (const char* const state = valueOfEnvironment("STATE_DIRECTORY"))
        return std::string(state, std::strcspn(state, ":"));
    if (const char* const states = valueOfEnvironment("XDG_STATE_HOME"))
        return std::string(states) + "/sipd";
    const char* home = valueOfEnvironment("HOME");
    const passwd* const user = home == nullptr ? getpwuid(geteuid()) : nullptr;
    if (user != nullptr)
        home = user->pw_dir;
    return home != nullptr && home[0] == '/' ? std::string(home) + "/.local/state/sipd" : "";
}

std::string KeptContacts::accountOf(const SipProfile& profile)
{
    return profile.registrar.uriHost() + ':' + std::to_string(profile.registrar.port) + ' ' +
           withoutBlanks(profile.user);
}

void KeptContacts::hold(const std::string& account, const std::string& contact)
{
    if (const auto entry = find(account, contact); entry != entries_.end()) {
        entry->isLeft = false;
        return;
    }
    if (entries_.size() == MOST_KEPT_CONTACTS || !isContactUri(contact))
        return;
    entries_.push_back({account, contact});
    save();
}

void KeptContacts::leave(const std::string& account, const std::string& contact)
{
    const auto entry = find(account, contact);
    if (entry == entries_.end())
        return;
    // The last one comes last.
    entry->isLeft = true;
    std::rotate(entry, entry + 1, entries_.end());
    limit(account);
}

// A server that never answers may leave one with each retry.
void KeptContacts::limit(const std::string& account)
{
    const auto isLeftOfAccount = [&account](const Entry& entry) {
        return entry.isLeft && entry.account == account;
    };
    if (std::count_if(entries_.begin(), entries_.end(), isLeftOfAccount) <= MOST_LEFT_CONTACTS)
        return;
    entries_.erase(std::find_if(entries_.begin(), entries_.end(), isLeftOfAccount));
    save();
}

void KeptContacts::drop(const std::string& account, const std::string& contact)
{
    const auto entry = find(account, contact);
    if (entry == entries_.end())
        return;
    entries_.erase(entry);
    save();
}

std::vector<std::string> KeptContacts::left(const std::string& account) const
{
    std::vector<std::string> contacts;
    for (const Entry& entry : entries_) {
        if (entry.isLeft && entry.account == account)
            contacts.push_back(entry.contact);
    }
    return contacts;
}

std::vector<KeptContacts::Entry>::iterator KeptContacts::find(const std::string& account,
                                                              const std::string& contact)
{
    return std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return entry.account == account && entry.contact == contact;
    });
}

// Makes, opens and locks the directory, and reads the file in it. False with errno.
bool KeptContacts::open()
{
    if (directory_.isOpen())
        return true;
    makeDirectories(path_);
    FileDescriptor directory(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.isOpen())
        return false;
    if (!isOwn(directory.get(), S_IFDIR)) {
        errno = EPERM;
        return false;
    }
    if (flock(directory.get(), LOCK_EX | LOCK_NB) != 0)
        return false;
    directory_ = std::move(directory);
    read();
    return true;
}

void KeptContacts::read()
{
    const FileDescriptor file(
        openat(directory_.get(), CONTACTS_FILE, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT)
        return;
    const auto text = file.isOpen() && isOwn(file.get(), S_IFREG) ? readAll(file.get()) : std::nullopt;
    const auto contacts = text ? parseContacts(*text) : std::nullopt;
    if (!contacts) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "%s/%s is damaged or foreign, it is ignored", path_.c_str(),
                 CONTACTS_FILE);
        return;
    }
    for (const auto& [account, contact] : *contacts) {
        if (find(account, contact) == entries_.end())
            entries_.push_back({account, contact, true});
    }
}

void KeptContacts::save()
{
    if (path_.empty())
        return;
    if (open()) {
        std::string text(CONTACTS_HEAD);
        for (const Entry& entry : entries_)
            text.append(entry.account).append(" ").append(entry.contact).append("\n");
        if (write(entries_.empty() ? "" : text))
            return;
    }
    if (!std::exchange(hasFailed_, true))
        ORMU_LOG(ORMU_LEVEL_ERROR, "contacts are not kept in %s: %s", path_.c_str(), std::strerror(errno));
}

// Replaces the file; removes it when there is no text. It is not made durable: it serves the next daemon,
// and a machine that loses its power loses its address too.
bool KeptContacts::write(const std::string& text) const
{
    const int directory = directory_.get();
    if (text.empty())
        return unlinkat(directory, CONTACTS_FILE, 0) == 0 || errno == ENOENT;
    unlinkat(directory, NEW_CONTACTS_FILE, 0);
    const FileDescriptor file(
        openat(directory, NEW_CONTACTS_FILE, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.isOpen() && writeAll(file.get(), text) &&
           renameat(directory, NEW_CONTACTS_FILE, directory, CONTACTS_FILE) == 0;
}
