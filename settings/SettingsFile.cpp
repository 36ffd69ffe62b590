// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsFile.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <memory_resource>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int MOST_LINKS = 40;
// Ten profiles need some kilobytes. A larger file is no settings file, and would take all memory.
constexpr off_t MOST_BYTES = off_t{64} << 20;
constexpr mode_t FILE_MODE = 0600;

// A temporary file is called "FILE.~xxxxx", as nobody names a copy by hand.
constexpr std::string_view TEMPORARY_MARK = ".~";
constexpr size_t RANDOM_CHARACTERS = 5;
constexpr std::string_view NAME_CHARACTERS = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

// Results of a read beside those of errno.
constexpr int MISSING = -2;
constexpr int NOW_THERE = -3;
// Of a file that appears each time between a read and the look for it.
constexpr int MOST_READS = 10;

// Leaves errno at the error.
void warn(const char* file, const std::string& path, const char* failure, int error)
{
    g_warning("%s %s %s: %s", file, path.c_str(), failure,
              error == EISDIR ? "it is no file" : g_strerror(error));
    errno = error;
}

// 0, or an errno: EISDIR also for a device or a pipe.
int readWhole(const std::string& path, std::pmr::string& bytes)
{
    // A pipe must not wait for its other end.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return EISDIR;
    if (status.st_size > MOST_BYTES)
        return EFBIG;

    bytes.resize(static_cast<size_t>(status.st_size));
    size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t got = read(file.get(), bytes.data() + length, bytes.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return errno;
        if (got == 0)
            break;
        length += static_cast<size_t>(got);
    }
    bytes.resize(length);
    return 0;
}

// Why the file that path stands for was not found: an errno, MISSING when its directory exists, or NOW_THERE.
int whyNotFound(const std::string& path)
{
    const std::optional<std::string> target = settingsTarget(path);
    struct stat status = {};
    if (!target || stat(directoryOf(*target).c_str(), &status) != 0)
        return errno;
    if (lstat(target->c_str(), &status) == 0)
        return NOW_THERE;
    return errno == ENOENT ? MISSING : errno;
}

// As readWhole(), or MISSING.
int readOrFindMissing(const std::string& path, std::pmr::string& bytes)
{
    for (int reads = 0; reads < MOST_READS; ++reads) {
        const int error = readWhole(path, bytes);
        const int why = error == ENOENT ? whyNotFound(path) : error;
        if (why != NOW_THERE)
            return why;
    }
    return ENOENT;
}

bool areSameFile(const std::string& first, const std::string& second)
{
    struct stat a = {};
    struct stat b = {};
    return lstat(first.c_str(), &a) == 0 && lstat(second.c_str(), &b) == 0 && isSameFile(a, b);
}

// False with errno EEXIST when the new name is taken.
bool giveSecondName(const std::string& path, const std::string& name)
{
    if (link(path.c_str(), name.c_str()) == 0)
        return true;
    return errno != EEXIST &&
           renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0;
}

// Something other than a regular file has no text to hide.
bool makePrivate(const std::string& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
        return false;
    return !S_ISREG(status.st_mode) || (status.st_mode & 07777) == FILE_MODE ||
           chmod(path.c_str(), FILE_MODE) == 0;
}

// False with errno on failure.
bool keepUnderFreeName(const std::string& path)
{
    const std::string base = path + ".damaged";
    std::string name = base;
    for (int number = 1; !giveSecondName(path, name); ++number) {
        if (errno != EEXIST)
            return false;
        // An earlier manager kept it, but could not write the new file.
        if (areSameFile(path, name))
            return true;
        name = base + '.' + std::to_string(number);
    }
    g_warning("damaged settings file %s is kept as %s", path.c_str(), name.c_str());
    return true;
}

// The new content before it replaces the file. The destructor removes it unless it did.
class Temporary
{
public:
    explicit Temporary(const std::string& target);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    // Each is false with errno on failure.
    bool isOpen() const { return file_.isOpen(); }
    bool write(std::string_view bytes) const;
    bool store();
    bool replace(const std::string& target);

private:
    std::string name_; // Empty once it is the file.
    FileDescriptor file_;
};

std::string temporaryName(const std::string& target)
{
    std::string name = target;
    name += TEMPORARY_MARK;
    for (size_t i = 0; i < RANDOM_CHARACTERS; ++i)
        name += NAME_CHARACTERS[static_cast<size_t>(
            g_random_int_range(0, static_cast<gint32>(NAME_CHARACTERS.size())))];
    return name;
}

Temporary::Temporary(const std::string& target)
{
    do {
        name_ = temporaryName(target);
        file_ = FileDescriptor(open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FILE_MODE));
    } while (!isOpen() && errno == EEXIST);
}

Temporary::~Temporary()
{
    const int error = errno;
    if (!name_.empty())
        unlink(name_.c_str());
    errno = error;
}

bool Temporary::write(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(static_cast<size_t>(std::max<ssize_t>(0, written)));
    }
    return true;
}

bool Temporary::store()
{
    return fchmod(file_.get(), FILE_MODE) == 0 && fsync(file_.get()) == 0 && close(file_.release()) == 0;
}

bool Temporary::replace(const std::string& target)
{
    if (rename(name_.c_str(), target.c_str()) != 0)
        return false;
    name_.clear();
    return true;
}

// True also where the directory cannot be opened, or the file system cannot sync it.
bool storeDirectory(const std::string& directory)
{
    const FileDescriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !opened.isOpen() || fsync(opened.get()) == 0 || errno == EINVAL;
}

bool replaceFile(const std::string& target, std::string_view bytes)
{
    Temporary temporary(target);
    return temporary.isOpen() && temporary.write(bytes) && temporary.store() && temporary.replace(target) &&
           storeDirectory(directoryOf(target));
}

bool consistsOf(std::string_view text, std::string_view characters)
{
    return text.find_first_not_of(characters) == std::string_view::npos;
}

// The ending of a file's copy: ".old", or ".old." and a number; or of the file itself: none.
bool isCopyEnding(std::string_view ending)
{
    if (!ending.starts_with(".old"))
        return ending.empty();
    ending.remove_prefix(4);
    return ending.empty() ||
           (ending.size() > 1 && ending.front() == '.' && consistsOf(ending.substr(1), "0123456789"));
}

// Whether a writer of the file with that base name, or of a copy of it, gives this name to its temporary.
bool isTemporaryName(std::string_view name, std::string_view base)
{
    constexpr size_t random = TEMPORARY_MARK.size() + RANDOM_CHARACTERS;
    if (!name.starts_with(base) || name.size() < base.size() + random)
        return false;
    const std::string_view ending = name.substr(name.size() - random);
    name.remove_prefix(base.size());
    name.remove_suffix(random);
    return isCopyEnding(name) && ending.starts_with(TEMPORARY_MARK) &&
           consistsOf(ending.substr(TEMPORARY_MARK.size()), NAME_CHARACTERS);
}

void removeIfOwnFile(int directory, const char* name)
{
    struct stat status = {};
    if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
        status.st_uid == geteuid() && unlinkat(directory, name, 0) != 0)
        warn("temporary file", name, "cannot be removed", errno);
}

struct DirectoryCloser
{
    void operator()(DIR* directory) const { closedir(directory); }
};

void removeTemporariesOf(const std::string& path)
{
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(directoryOf(path).c_str()));
    if (!directory)
        return;
    const std::string base = path.substr(path.rfind('/') + 1);
    // This directory stream is the thread's own.
    while (const dirent* entry = readdir(directory.get())) { // NOLINT(concurrency-mt-unsafe)
        if (isTemporaryName(entry->d_name, base))
            removeIfOwnFile(dirfd(directory.get()), entry->d_name);
    }
}

} // namespace

std::optional<std::string> readSettingsBytes(const std::string& path)
{
    std::pmr::string bytes;
    errno = readWhole(path, bytes);
    return errno == 0 ? std::optional(std::string(bytes)) : std::nullopt;
}

SettingsFile readSettingsFile(const std::string& path)
{
    // Most files fit on the stack. A large block on the heap would slow down the many small allocations of
    // the keys.
    std::array<std::byte, 16384> buffer;
    std::pmr::monotonic_buffer_resource memory(buffer.data(), buffer.size());
    std::pmr::string bytes(&memory);
    const int error = readOrFindMissing(path, bytes);
    if (error == MISSING)
        return {.missing = true};
    if (error != 0) {
        warn("settings file", path, "cannot be read", error);
        return {.damaged = true, .error = error == EISDIR ? 0 : error};
    }
    std::optional<SettingsKeys> keys = SettingsKeys::parse(bytes);
    if (keys)
        return {.keys = std::move(*keys)};
    g_warning("settings file %s cannot be parsed", path.c_str());
    return {.damaged = true};
}

std::string directoryOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

std::optional<std::string> settingsTarget(const std::string& path)
{
    std::string target = path;
    for (int links = 0; links < MOST_LINKS; ++links) {
        std::array<char, PATH_MAX> link;
        const ssize_t length = readlink(target.c_str(), link.data(), link.size());
        if (length < 0) // Not a link, or missing.
            return target;
        const std::string next(link.data(), static_cast<size_t>(length));
        target = next.starts_with('/') ? next : directoryOf(target).append(next);
    }
    errno = ELOOP;
    return std::nullopt;
}

bool keepDamagedFile(const std::string& path)
{
    const std::optional<std::string> target = settingsTarget(path);
    if (target && makePrivate(*target) && keepUnderFreeName(*target))
        return true;
    warn("damaged settings file", path, "cannot be kept, nothing is written", errno);
    return false;
}

bool replaceSettingsFile(const std::string& path, std::string_view bytes)
{
    const std::optional<std::string> target = settingsTarget(path);
    if (target && replaceFile(*target, bytes))
        return true;
    warn("settings file", path, "cannot be written", errno);
    return false;
}

SettingsLock::SettingsLock(const std::string& path) : SettingsLock(path, settingsTarget(path).value_or(path))
{
}

SettingsLock::SettingsLock(const std::string& path, const std::string& target) : file_(directoryOf(target))
{
    if (!file_.isOpen() || !file_.waitForLock(SettingsLockFile::WriterByte))
        return;
    removeTemporariesOf(target);
    if (target != path)
        removeTemporariesOf(path);
}

int SettingsLock::refusal() const
{
    return file_.error() == SETTINGS_LOCK_NOT_PRIVATE ? SETTINGS_LOCK_NOT_PRIVATE : 0;
}
