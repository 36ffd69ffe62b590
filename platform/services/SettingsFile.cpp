#include "SettingsFile.h"

#include <QVarLengthArray>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct GLibDeleter
{
    void operator()(gchar* text) const { g_free(text); }
    void operator()(GError* error) const { g_error_free(error); }
};
using Text = std::unique_ptr<gchar, GLibDeleter>;
using Error = std::unique_ptr<GError, GLibDeleter>;

class Descriptor
{
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

// An ordinary file needs no allocation.
using Bytes = QVarLengthArray<char, 8192>;

// False when the file cannot be read, errno saying why.
bool readWhole(const QByteArray& path, Bytes& bytes)
{
    // Not to wait for the other end when it is a pipe.
    const Descriptor file(open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (file.get() < 0 || fstat(file.get(), &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return false;
    }

    bytes.resize(static_cast<qsizetype>(status.st_size));
    qsizetype length = 0;
    while (length < bytes.size()) {
        const ssize_t got =
            read(file.get(), bytes.data() + length, static_cast<size_t>(bytes.size() - length));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            break;
        length += got;
    }
    bytes.resize(length);
    return true;
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

} // namespace

std::optional<QByteArray> readSettingsBytes(const QByteArray& path)
{
    Bytes bytes;
    if (!readWhole(path, bytes))
        return std::nullopt;
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
    if (!readWhole(path, bytes)) {
        file.damaged = errno != ENOENT;
        if (file.damaged)
            qWarning("settings file %s cannot be read: %s", path.constData(), std::strerror(errno));
    } else if (!parseSettings(file.keys.get(), bytes)) {
        qWarning("settings file %s cannot be parsed", path.constData());
        file = {KeyFile(g_key_file_new()), true};
    }
    return file;
}

bool keepDamagedFile(const QByteArray& path)
{
    const QByteArray base = path + ".damaged";
    QByteArray name = base;
    for (int number = 1; !giveSecondName(path, name); ++number) {
        if (errno != EEXIST) {
            qWarning("damaged settings file %s cannot be kept, nothing is written: %s", path.constData(),
                     std::strerror(errno));
            return false;
        }
        // An earlier manager kept it, but could not write the new file.
        if (areSameFile(path, name))
            return true;
        name = base + '.' + QByteArray::number(number);
    }
    qWarning("damaged settings file %s is kept as %s", path.constData(), name.constData());
    return true;
}

bool replaceSettingsFile(const QByteArray& path, GKeyFile* keys)
{
    gsize length = 0;
    const Text data(g_key_file_to_data(keys, &length, nullptr));
    return replaceSettingsBytes(path, QByteArrayView(data.get(), static_cast<qsizetype>(length)));
}

bool replaceSettingsBytes(const QByteArray& path, QByteArrayView bytes)
{
    const auto flags =
        static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
    GError* error = nullptr;
    if (g_file_set_contents_full(path.constData(), bytes.constData(), static_cast<gssize>(bytes.size()),
                                 flags, 0600, &error))
        return true;
    qWarning("settings file %s cannot be written: %s", path.constData(), Error(error)->message);
    return false;
}

SettingsLock::SettingsLock(const QByteArray& path)
{
    const gchar* const slash = std::strrchr(path.constData(), '/');
    const QByteArray directory =
        slash == nullptr ? QByteArray(".") : path.first(slash - path.constData() + 1);
    directory_ = open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (directory_ >= 0 && flock(directory_, LOCK_EX) != 0 && errno == EINTR) {
    }
}

SettingsLock::~SettingsLock()
{
    if (directory_ >= 0)
        close(directory_);
}
