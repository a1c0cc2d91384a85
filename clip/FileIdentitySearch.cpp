#include "clip/FileIdentitySearch.h"

#include <QFile>
#include <chrono>
#include <cstring>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// The clock is read once per this many entries, not for every one.
constexpr int kEntriesPerClockCheck = 64;

qint64 modifiedNs(const struct stat& st) {
    return qint64(st.st_mtim.tv_sec) * 1000000000LL + qint64(st.st_mtim.tv_nsec);
}

bool matches(const FileIdentitySearch::Identity& identity, const struct stat& st,
             const QByteArray& name) {
    if (!S_ISREG(st.st_mode) || quint64(st.st_dev) != identity.device ||
        quint64(st.st_ino) != identity.inode) {
        return false;
    }
    // The same inode may since have been given to another file: it must still carry
    // its name, or (renamed) its size and modification time.
    if (QFile::decodeName(name) == identity.fileName) {
        return true;
    }
    return qint64(st.st_size) == identity.size && modifiedNs(st) == identity.modifiedNs;
}

class Walk {
public:
    Walk(const FileIdentitySearch::Identity& identity, FileIdentitySearch::Limits limits)
        : _identity(identity)
        , _limits(limits)
        , _started(std::chrono::steady_clock::now()) {}

    // Walks one seed breadth first; true when the search is over (found or out of budget).
    bool walkSeed(const QByteArray& seed) {
        std::deque<std::pair<QByteArray, int>> folders{{seed, 0}};
        while (!folders.empty()) {
            auto [folder, depth] = std::move(folders.front());
            folders.pop_front();
            if (readFolder(folder, depth, &folders)) {
                return true;
            }
        }
        return false;
    }

    FileIdentitySearch::Result result;

private:
    bool outOfBudget() {
        if (result.entriesRead >= _limits.maxEntries) {
            return true;
        }
        if (result.entriesRead % kEntriesPerClockCheck != 0) {
            return false;
        }
        const auto elapsed = std::chrono::steady_clock::now() - _started;
        return elapsed >= std::chrono::milliseconds(_limits.maxMilliseconds);
    }

    bool stop() {
        result.cutShort = true;
        return true;
    }

    // Reads one folder: checks its files and queues its subfolders. True when done.
    bool readFolder(const QByteArray& folder, int depth,
                    std::deque<std::pair<QByteArray, int>>* folders) {
        const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) {
            return false;
        }
        struct stat folderStat {};
        if (::fstat(fd, &folderStat) != 0 ||
            !_visited.insert({quint64(folderStat.st_dev), quint64(folderStat.st_ino)}).second) {
            ::close(fd);
            return false;
        }
        DIR* dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
            return false;
        }
        bool done = false;
        while (const dirent* entry = ::readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) {
                continue;
            }
            ++result.entriesRead;
            if (outOfBudget()) {
                done = stop();
                break;
            }
            const bool maybeFolder = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
            const bool maybeTarget = quint64(entry->d_ino) == _identity.inode;
            if (!maybeTarget && !(maybeFolder && depth < _limits.maxDepth)) {
                continue;
            }
            struct stat st {};
            if (::fstatat(::dirfd(dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                continue;
            }
            const QByteArray name(entry->d_name);
            const QByteArray path = folder.endsWith('/') ? folder + name : folder + '/' + name;
            if (matches(_identity, st, name)) {
                result.path = QFile::decodeName(path);
                done = true;
                break;
            }
            if (S_ISDIR(st.st_mode) && depth < _limits.maxDepth) {
                folders->emplace_back(path, depth + 1);
            }
        }
        ::closedir(dir);
        return done;
    }

    const FileIdentitySearch::Identity& _identity;
    const FileIdentitySearch::Limits _limits;
    const std::chrono::steady_clock::time_point _started;
    std::set<std::pair<quint64, quint64>> _visited;
};

} // namespace

bool FileIdentitySearch::identityOf(const QString& path, Identity* identity) {
    if (path.isEmpty()) {
        return false;
    }
    const QByteArray encoded = QFile::encodeName(path);
    struct stat st {};
    if (::stat(encoded.constData(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return false;
    }
    identity->device = quint64(st.st_dev);
    identity->inode = quint64(st.st_ino);
    identity->size = qint64(st.st_size);
    identity->modifiedNs = modifiedNs(st);
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    identity->fileName = slash < 0 ? path : path.mid(slash + 1);
    return true;
}

FileIdentitySearch::Result FileIdentitySearch::find(const Identity& identity,
                                                    const QStringList& seeds, Limits limits) {
    Walk walk(identity, limits);
    if (identity.inode == 0) {
        return walk.result;
    }
    for (const QString& seed : seeds) {
        if (!seed.isEmpty() && walk.walkSeed(QFile::encodeName(seed))) {
            break;
        }
    }
    return walk.result;
}
