#include "SettingsFile.h"

#include "FileDescriptor.h"

#include <QVarLengthArray>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct GLibDeleter
{
    void operator()(gchar* text) const { g_free(text); }
};
using Text = std::unique_ptr<gchar, GLibDeleter>;

// An ordinary file needs no allocation.
using Bytes = QVarLengthArray<char, 8192>;

constexpr int MOST_LINKS = 40;
// Ten profiles need some kilobytes. More than this is no settings file, and would take all memory.
constexpr off_t MOST_BYTES = off_t{64} << 20;
constexpr mode_t FILE_MODE = 0600;

// A temporary file is called "FILE.~xxxxx": a name that nobody gives to a copy by hand.
constexpr std::string_view TEMPORARY_MARK = ".~";
constexpr int RANDOM_CHARACTERS = 5;
constexpr std::string_view NAME_CHARACTERS = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

constexpr int NO_FILE = -1;
constexpr int MISSING = -2;
constexpr int NOW_THERE = -3;
// Of a file that is made between being missed and being looked for.
constexpr int MOST_READS = 10;

// 0, or why the file cannot be read: an errno, or NO_FILE when it is a directory or a device.
int readWhole(const QByteArray& path, Bytes& bytes)
{
    // Not to wait for the other end when it is a pipe.
    const FileDescriptor file(open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return NO_FILE;
    if (status.st_size > MOST_BYTES)
        return EFBIG;

    bytes.resize(static_cast<qsizetype>(status.st_size));
    qsizetype length = 0;
    while (length < bytes.size()) {
        const ssize_t got =
            read(file.get(), bytes.data() + length, static_cast<size_t>(bytes.size() - length));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return errno;
        if (got == 0)
            break;
        length += got;
    }
    bytes.resize(length);
    return 0;
}

QByteArray directoryOf(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray("./") : path.first(slash + 1);
}

// Why the file that path stands for was not found: an errno, MISSING when its directory is there, or
// NOW_THERE.
int whyNotFound(const QByteArray& path)
{
    const std::optional<QByteArray> target = settingsTarget(path);
    struct stat status = {};
    if (!target || stat(directoryOf(*target).constData(), &status) != 0)
        return errno;
    if (lstat(target->constData(), &status) == 0)
        return NOW_THERE;
    return errno == ENOENT ? MISSING : errno;
}

// As readWhole(), or MISSING.
int readOrFindMissing(const QByteArray& path, Bytes& bytes)
{
    for (int reads = 0; reads < MOST_READS; ++reads) {
        const int error = readWhole(path, bytes);
        const int why = error == ENOENT ? whyNotFound(path) : error;
        if (why != NOW_THERE)
            return why;
    }
    return ENOENT;
}

bool areSameFile(const QByteArray& first, const QByteArray& second)
{
    struct stat a = {};
    struct stat b = {};
    return lstat(first.constData(), &a) == 0 && lstat(second.constData(), &b) == 0 && a.st_dev == b.st_dev &&
           a.st_ino == b.st_ino;
}

// False with errno EEXIST when the new name is taken.
bool giveSecondName(const QByteArray& path, const QByteArray& name)
{
    if (link(path.constData(), name.constData()) == 0)
        return true;
    return errno != EEXIST &&
           renameat2(AT_FDCWD, path.constData(), AT_FDCWD, name.constData(), RENAME_NOREPLACE) == 0;
}

// For this user alone. What is no file has no text to hide.
bool makePrivate(const QByteArray& path)
{
    struct stat status = {};
    if (lstat(path.constData(), &status) != 0)
        return false;
    return !S_ISREG(status.st_mode) || (status.st_mode & 07777) == FILE_MODE ||
           chmod(path.constData(), FILE_MODE) == 0;
}

// The name it has got; empty, errno saying why, when it gets none.
QByteArray keepUnderFreeName(const QByteArray& path)
{
    const QByteArray base = path + ".damaged";
    QByteArray name = base;
    for (int number = 1; !giveSecondName(path, name); ++number) {
        if (errno != EEXIST)
            return QByteArray();
        // An earlier manager kept it, but could not write the new file.
        if (areSameFile(path, name))
            return name;
        name = base + '.' + QByteArray::number(number);
    }
    qWarning("damaged settings file %s is kept as %s", path.constData(), name.constData());
    return name;
}

// What is written before it takes the file's place. Removed in the end, unless it did.
class Temporary
{
public:
    explicit Temporary(const QByteArray& target);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    // Each is false with errno when it fails.
    bool isOpen() const { return file_.isOpen(); }
    bool write(QByteArrayView bytes) const;
    bool store();
    bool replace(const QByteArray& target);

private:
    QByteArray name_; // Empty once it is the file.
    FileDescriptor file_;
};

QByteArray temporaryName(const QByteArray& target)
{
    QByteArray name = target + TEMPORARY_MARK.data();
    for (int i = 0; i < RANDOM_CHARACTERS; ++i)
        name += NAME_CHARACTERS[g_random_int_range(0, static_cast<gint32>(NAME_CHARACTERS.size()))];
    return name;
}

Temporary::Temporary(const QByteArray& target)
{
    do {
        name_ = temporaryName(target);
        FileDescriptor(open(name_.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FILE_MODE))
            .swap(file_);
    } while (!isOpen() && errno == EEXIST);
}

Temporary::~Temporary()
{
    const int error = errno;
    if (!name_.isEmpty())
        unlink(name_.constData());
    errno = error;
}

bool Temporary::write(QByteArrayView bytes) const
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file_.get(), bytes.data(), static_cast<size_t>(bytes.size()));
        if (written < 0 && errno != EINTR)
            return false;
        bytes = bytes.sliced(qMax<qsizetype>(0, written));
    }
    return true;
}

bool Temporary::store()
{
    return fchmod(file_.get(), FILE_MODE) == 0 && fsync(file_.get()) == 0 && close(file_.release()) == 0;
}

bool Temporary::replace(const QByteArray& target)
{
    if (rename(name_.constData(), target.constData()) != 0)
        return false;
    name_.clear();
    return true;
}

// True too where the directory cannot be opened, or knows no such thing.
bool storeDirectory(const QByteArray& directory)
{
    const FileDescriptor opened(open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !opened.isOpen() || fsync(opened.get()) == 0 || errno == EINVAL;
}

bool replaceFile(const QByteArray& target, QByteArrayView bytes)
{
    Temporary temporary(target);
    return temporary.isOpen() && temporary.write(bytes) && temporary.store() && temporary.replace(target) &&
           storeDirectory(directoryOf(target));
}

// What temporaryName() puts behind the name of the file.
bool isTemporaryEnding(QByteArrayView ending)
{
    return ending.startsWith(TEMPORARY_MARK.data()) &&
           std::all_of(ending.begin() + TEMPORARY_MARK.size(), ending.end(),
                       [](char c) { return NAME_CHARACTERS.find(c) != std::string_view::npos; });
}

// Whether it is the ending of a copy of the old file, or of the file itself.
bool isCopyEnding(QByteArrayView ending)
{
    if (!ending.startsWith(".old"))
        return ending.isEmpty();
    ending = ending.sliced(4);
    return ending.isEmpty() ||
           (ending.size() > 1 && ending.front() == '.' &&
            std::all_of(ending.begin() + 1, ending.end(), [](char c) { return c >= '0' && c <= '9'; }));
}

// Whether a writer of the file with that base name, or of a copy of it, gives this name to its temporary.
bool isTemporaryName(QByteArrayView name, QByteArrayView base)
{
    constexpr qsizetype random = RANDOM_CHARACTERS + TEMPORARY_MARK.size();
    if (!name.startsWith(base) || name.size() < base.size() + random)
        return false;
    const QByteArrayView ending = name.last(random);
    return isTemporaryEnding(ending) && isCopyEnding(name.sliced(base.size()).chopped(random));
}

void removeIfOwnFile(int directory, const char* name)
{
    struct stat status = {};
    if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
        status.st_uid == geteuid() && unlinkat(directory, name, 0) != 0)
        qWarning("temporary file %s cannot be removed: %s", name, g_strerror(errno));
}

struct DirectoryCloser
{
    void operator()(DIR* directory) const { closedir(directory); }
};

void removeTemporariesOf(const QByteArray& path)
{
    const QByteArray directoryName = directoryOf(path);
    const QByteArray base = path.sliced(path.lastIndexOf('/') + 1);
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(directoryName.constData()));
    if (!directory)
        return;
    // The thread's own: nobody else reads this directory stream.
    while (const dirent* entry = readdir(directory.get())) { // NOLINT(concurrency-mt-unsafe)
        if (isTemporaryName(entry->d_name, base))
            removeIfOwnFile(dirfd(directory.get()), entry->d_name);
    }
}

} // namespace

std::optional<QByteArray> readSettingsBytes(const QByteArray& path)
{
    Bytes bytes;
    if (const int error = readWhole(path, bytes); error != 0) {
        errno = error == NO_FILE ? EISDIR : error;
        return std::nullopt;
    }
    return QByteArray(bytes.constData(), bytes.size());
}

QByteArrayView withoutByteOrderMark(QByteArrayView text)
{
    constexpr QByteArrayView mark = "\xEF\xBB\xBF";
    return text.startsWith(mark) ? text.sliced(mark.size()) : text;
}

bool parseSettings(GKeyFile* keys, QByteArrayView bytes)
{
    bytes = withoutByteOrderMark(bytes);
    // The key file would silently drop the rest of such a line.
    if (bytes.contains('\0'))
        return false;
    // Without the last flag it would drop the translations that this user's language has no use for.
    const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    return g_key_file_load_from_data(keys, bytes.constData(), static_cast<gsize>(bytes.size()), flags,
                                     nullptr);
}

SettingsFile readSettingsFile(const QByteArray& path)
{
    SettingsFile file{KeyFile(g_key_file_new())};
    Bytes bytes;
    const int error = readOrFindMissing(path, bytes);
    file.missing = error == MISSING;
    if (file.missing)
        return file;
    if (error != 0) {
        file.damaged = true;
        file.error = error == NO_FILE ? 0 : error;
        qWarning("settings file %s cannot be read: %s", path.constData(),
                 error == NO_FILE ? "it is no file" : g_strerror(error));
    } else if (!parseSettings(file.keys.get(), bytes)) {
        qWarning("settings file %s cannot be parsed", path.constData());
        file = {KeyFile(g_key_file_new()), true};
    }
    return file;
}

std::optional<QByteArray> settingsTarget(const QByteArray& path)
{
    QByteArray target = path;
    for (int links = 0; links < MOST_LINKS; ++links) {
        QVarLengthArray<char, PATH_MAX> link(PATH_MAX);
        const ssize_t length = readlink(target.constData(), link.data(), static_cast<size_t>(link.size()));
        if (length < 0) // Not a link, or not there.
            return target;
        const QByteArray next(link.constData(), length);
        target = next.startsWith('/') ? next : directoryOf(target) + next;
    }
    errno = ELOOP;
    return std::nullopt;
}

bool keepDamagedFile(const QByteArray& path)
{
    const std::optional<QByteArray> target = settingsTarget(path);
    const QByteArray name = target && makePrivate(*target) ? keepUnderFreeName(*target) : QByteArray();
    if (!name.isEmpty())
        return true;
    const int error = errno;
    qWarning("damaged settings file %s cannot be kept, nothing is written: %s", path.constData(),
             g_strerror(error));
    errno = error;
    return false;
}

bool replaceSettingsFile(const QByteArray& path, GKeyFile* keys)
{
    gsize length = 0;
    const Text data(g_key_file_to_data(keys, &length, nullptr));
    return replaceSettingsBytes(path, QByteArrayView(data.get(), static_cast<qsizetype>(length)));
}

bool replaceSettingsBytes(const QByteArray& path, QByteArrayView bytes)
{
    const std::optional<QByteArray> target = settingsTarget(path);
    if (target && replaceFile(*target, bytes))
        return true;
    const int error = errno;
    qWarning("settings file %s cannot be written: %s", path.constData(), g_strerror(error));
    errno = error;
    return false;
}

SettingsLock::SettingsLock(const QByteArray& path) : SettingsLock(path, settingsTarget(path).value_or(path))
{
}

SettingsLock::SettingsLock(const QByteArray& path, const QByteArray& target) : file_(directoryOf(target))
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
