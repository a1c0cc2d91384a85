// SoundClip: loading the file (offline when missing, no audio, no length), the movie's
// life, tags and the label colour.

#include "clip/FileLabel.h"
#include "clip/SoundClip.h"
#include "foundation/Logging.h"
#include "foundation/UserDefaults.h"
#include "media/AudioFileInfo.h"
#include "media/AudioFileProbe.h"
#include "media/Movie.h"

#include <QFileInfo>
#include <cstdio>

namespace {

SoundClip::FileSelector& installedFileSelector() {
    static SoundClip::FileSelector selector;
    return selector;
}

// The year as "%i" reads it (leading blanks, a sign, decimal, 0x hex or 0 octal digits);
// false when the text does not start with a number.
bool parseYear(const QString& text, int* year) {
    const QByteArray bytes = text.toUtf8();
    int value = 0;
    if (bytes.isEmpty() || std::sscanf(bytes.constData(), "%i", &value) != 1) {
        return false;
    }
    *year = value;
    return true;
}

} // namespace

bool SoundClip::setFileURL(const QUrl& url) {
    if (!url.isLocalFile()) {
        qCWarning(lcClip).noquote()
            << QStringLiteral("\"%1\" is not a local file; the clip keeps its file")
                   .arg(url.toDisplayString());
        return false;
    }
    stopPlaying();
    setURL(url);
    return getFileInformation(url);
}

void SoundClip::setFileAliasData(const QByteArray& data) {
    setAliasData(data);
    if (exists()) {
        getFileInformation(url());
    }
}

bool SoundClip::isValidAudioFile(const QString& path) {
    return !path.isEmpty() && media::AudioFileProbe::isValidAudioFile(path);
}

void SoundClip::setFileSelector(FileSelector selector) {
    installedFileSelector() = std::move(selector);
}

bool SoundClip::selectFile() {
    const FileSelector& selector = installedFileSelector();
    if (!selector) {
        qCWarning(lcClip) << "No file selector is installed; no file can be chosen";
        return false;
    }
    const QString chosen = selector();
    if (chosen.isEmpty()) {
        return false;
    }
    setURL(QUrl::fromLocalFile(chosen));
    return true;
}

std::unique_ptr<media::Movie> SoundClip::makeMovieWithURL(const QUrl& url, QString* error) {
    if (!url.isLocalFile()) {
        if (error) {
            *error = QStringLiteral("\"%1\" is not a local file").arg(url.toDisplayString());
        }
        return nullptr;
    }
    auto movie = std::make_unique<media::Movie>();
    if (!movie->open(url.toLocalFile(), error)) {
        return nullptr;
    }
    return movie;
}

void SoundClip::closeMovie() {
    _myMovie.reset();
}

void SoundClip::reOpenMovie() {
    _myMovie = std::make_unique<media::Movie>();
}

void SoundClip::resetMovie() {
    if (hasOpenMovie()) {
        _myMovie->stop();
        cueMovieAtInPoint();
        return;
    }
    const QUrl fileUrl = url();
    if (fileUrl.isEmpty()) {
        qCWarning(lcClip).noquote()
            << QStringLiteral("The file of \"%1\" cannot be found; its movie stays closed")
                   .arg(_title);
        return;
    }
    QString error;
    std::unique_ptr<media::Movie> movie = makeMovieWithURL(fileUrl, &error);
    if (!movie) {
        qCWarning(lcClip).noquote() << error;
        return;
    }
    _myMovie = std::move(movie);
    applyRoutingToMovie();
    cueMovieAtInPoint();
}

bool SoundClip::getFileInformation(const QUrl& url) {
    const QString filePath = url.isLocalFile() ? url.toLocalFile() : QString();
    closeMovie();

    if (filePath.isEmpty() || !QFileInfo(filePath).isFile()) {
        _isOffline = true;
        if (_title.isEmpty()) {
            _title = displayName();
            if (_title.isEmpty()) {
                _title = filePath.isEmpty() ? url.fileName() : QFileInfo(filePath).fileName();
            }
        }
        qCInfo(lcClip).noquote() << QStringLiteral("\"%1\" is missing; the clip is offline")
                                        .arg(filePath.isEmpty() ? url.toDisplayString() : filePath);
        return false;
    }

    media::AudioFileInfo info;
    QString error;
    if (!media::AudioFileProbe::probe(filePath, &info, &error)) {
        _isOffline = true;
        qCWarning(lcClip).noquote() << error;
        return false;
    }
    std::unique_ptr<media::Movie> movie = makeMovieWithURL(url, &error);
    if (!movie) {
        _isOffline = true;
        qCWarning(lcClip).noquote() << error;
        return false;
    }
    _myMovie = std::move(movie);
    _fileDuration = _myMovie->duration();
    if (!(_fileDuration > 0.0)) {
        _isOffline = true;
        qCWarning(lcClip).noquote()
            << QStringLiteral("\"%1\" holds no audio to play").arg(QFileInfo(filePath).fileName());
        return false;
    }

    _title = QFileInfo(filePath).fileName();
    _color = getColorLabelForPath(filePath);
    const UserDefaults* defaults = UserDefaults::standard();
    if (defaults && defaults->boolForKey(defaultsKey_ReadID3Tags)) {
        applyTags(info);
    }
    _isMono = _myMovie->channelCount() == 1;
    _isOffline = false;
    // Route now, so the device is open and the preroll ready before the first start.
    applyRoutingToMovie();
    cueMovieAtInPoint();
    return true;
}

void SoundClip::readTags() {
    const QString filePath = path();
    if (filePath.isEmpty()) {
        qCInfo(lcClip).noquote()
            << QStringLiteral("\"%1\" has no file to read tags from").arg(_title);
        return;
    }
    media::AudioFileInfo info;
    QString error;
    if (!media::AudioFileProbe::probe(filePath, &info, &error)) {
        qCInfo(lcClip).noquote() << QStringLiteral("No tags could be read: %1").arg(error);
        return;
    }
    applyTags(info);
}

void SoundClip::applyTags(const media::AudioFileInfo& info) {
    if (!info.title.isEmpty()) {
        _title = info.title;
    }
    if (!info.artist.isEmpty()) {
        _artist = info.artist;
    }
    if (!info.album.isEmpty()) {
        _album = info.album;
    }
    if (!info.year.isEmpty() && !parseYear(info.year, &_year)) {
        qCInfo(lcClip).noquote() << QStringLiteral(
                                        "The year tag \"%1\" is not a number; the year stays %2")
                                        .arg(info.year)
                                        .arg(_year);
    }
}

QString SoundClip::yearString() const {
    return QString::asprintf("%d", _year);
}

QColor SoundClip::getColorLabelForPath(const QString& path) const {
    return FileLabel::colorForPath(path);
}

const std::array<QColor, 9>& SoundClip::labelColors() {
    return FileLabel::labelColors();
}
