#include "PlaylistXspf.h"

#include "ListFileText.h"
#include "PathText.h"

#include <QFile>
#include <QString>
#include <QUrl>
#include <QXmlStreamReader>

#include <optional>
#include <vector>

namespace {

// Longest text kept of a <location>, <title> or <creator>, characters: a percent-encoded path
// of MaxPathBytes bytes is at most three times as long, and a URL's scheme and host come on top.
constexpr qsizetype MaxFieldChars = 3 * static_cast<qsizetype>(MaxPathBytes) + 1024;

enum class Field { None, Location, Title, Creator };

struct TrackFields {
    std::optional<QString> location; // the first one
    QUrl locationBase;               // the xml:base in effect at that location
    QString title;
    QString creator;
    bool overlong = false; // the location was longer than MaxFieldChars
};

// "C:\Music\a.mp3" or "c:/a.mp3": a local path, not a URL with a one-letter scheme.
bool startsWithDriveLetter(const QString& text) {
    return text.size() >= 3 && text[0].isLetter() && text[0].unicode() < 128 && text[1] == ':' &&
           (text[2] == '\\' || text[2] == '/');
}

QString folderName(std::string_view folder) {
    return QFile::decodeName(QByteArray(folder.data(), static_cast<qsizetype>(folder.size())));
}

class XspfParser {
public:
    XspfParser(std::string_view listPath, ListRoom room, ListRead& out)
        : room_(room), out_(out),
          folderBase_(QUrl::fromLocalFile(folderName(pathtext::listFolder(listPath)) + "/")) {}

    // Parses what has arrived so far; false once reading should stop (error, end, no room).
    bool feed(std::string_view piece) {
        xml_.addData(QByteArray(piece.data(), static_cast<qsizetype>(piece.size())));
        while (!stopped_) {
            const QXmlStreamReader::TokenType token = xml_.readNext();
            if (xml_.error() == QXmlStreamReader::PrematureEndOfDocumentError) {
                return true; // wait for the next piece
            }
            if (xml_.hasError()) {
                stop("XML error at line " + std::to_string(xml_.lineNumber()) + ", column " +
                     std::to_string(xml_.columnNumber()) + ": " + xml_.errorString().toStdString());
                break;
            }
            if (token == QXmlStreamReader::StartElement) {
                startElement();
            } else if (token == QXmlStreamReader::EndElement) {
                endElement();
            } else if (token == QXmlStreamReader::Characters) {
                characters();
            } else if (token == QXmlStreamReader::EndDocument) {
                stopped_ = true;
            }
        }
        return false;
    }

    // At the file's end: a document cut short is reported, and the locations left out.
    void finish() {
        if (!stopped_) {
            stop(sawRoot_ ? "the file ends inside the XML" : "no XML in the file", sawRoot_);
        }
        if (unsupported_ > 0) {
            out_.problems.push_back(std::to_string(unsupported_) +
                                    " location(s) that name no local file or http(s) URL "
                                    "left out (first '" +
                                    firstUnsupported_ + "')");
        }
    }

private:
    struct Frame {
        QString name;
        QUrl base; // xml:base in effect inside this element
    };

    void stop(const std::string& why, bool sayKept = true) {
        stopped_ = true;
        out_.problems.push_back(sayKept ? why + "; the " + std::to_string(out_.entries.size()) +
                                              " entries before it are kept"
                                        : why);
    }

    bool inTrack() const {
        return stack_.size() >= 3 && stack_[1].name == u"trackList" && stack_[2].name == u"track";
    }

    void startElement() {
        QUrl base = stack_.empty() ? folderBase_ : stack_.back().base;
        for (const QXmlStreamAttribute& attribute : xml_.attributes()) {
            if (attribute.qualifiedName() == u"xml:base") {
                base = base.resolved(QUrl(attribute.value().toString(), QUrl::TolerantMode));
            }
        }
        stack_.push_back({xml_.name().toString(), base});
        if (stack_.size() == 1) {
            sawRoot_ = true;
            if (stack_[0].name != u"playlist") {
                stop("not an XSPF playlist (its root element is not <playlist>)", false);
            }
            return;
        }
        if (stack_.size() == 3 && inTrack()) {
            track_ = TrackFields{};
        } else if (stack_.size() == 4 && inTrack() && track_) {
            const QString& name = stack_.back().name;
            field_ = name == u"location"  ? Field::Location
                     : name == u"title"   ? Field::Title
                     : name == u"creator" ? Field::Creator
                                          : Field::None;
            text_.clear();
            textOverlong_ = false;
        }
    }

    void characters() {
        if (field_ == Field::None || stack_.size() != 4 || textOverlong_) {
            return;
        }
        const QStringView text = xml_.text();
        if (text_.size() + text.size() > MaxFieldChars) {
            textOverlong_ = true;
            return;
        }
        text_ += text;
    }

    void endElement() {
        if (stack_.size() == 4 && field_ != Field::None && track_) {
            storeField();
            field_ = Field::None;
        } else if (stack_.size() == 3 && inTrack() && track_) {
            TrackFields track = std::move(*track_);
            track_.reset();
            if (!addTrack(track)) {
                stopped_ = true; // no room left
            }
        }
        stack_.pop_back();
    }

    void storeField() {
        const QString text = text_.trimmed();
        if (field_ == Field::Location && !track_->location) {
            track_->location = text;
            track_->locationBase = stack_.back().base;
            track_->overlong = textOverlong_;
        } else if (field_ == Field::Title) {
            track_->title = text.left(static_cast<qsizetype>(MaxPathBytes));
        } else if (field_ == Field::Creator) {
            track_->creator = text.left(static_cast<qsizetype>(MaxPathBytes));
        }
    }

    // False when the room is used up.
    bool addTrack(const TrackFields& track) {
        if (!track.location || track.location->isEmpty()) {
            return true;
        }
        if (track.overlong) {
            ++out_.overlongLines;
            return true;
        }
        const QString& location = *track.location;
        PlaylistEntry entry;
        bool stream = false;
        if (startsWithDriveLetter(location)) {
            entry.path = pathtext::withForwardSlashes(QFile::encodeName(location).toStdString());
        } else {
            QUrl url = track.locationBase.resolved(QUrl(location, QUrl::TolerantMode));
            const QString scheme = url.scheme().toLower();
            const QString host = url.host();
            if (scheme == u"file" && (host.isEmpty() || host == u"localhost")) {
                url.setHost(QString()); // else "//localhost/..." comes out
                entry.path = QFile::encodeName(url.toLocalFile()).toStdString();
            } else if (scheme == u"http" || scheme == u"https") {
                entry.path = url.toEncoded().toStdString();
                stream = true;
            }
        }
        // "http:/x" has the scheme but would be opened as a relative file; a decoded %00 or %0A
        // would cut the path short on opening or break the saved list.
        const bool usable =
            stream ? pathtext::isHttpUrl(entry.path) : pathtext::isAbsolutePath(entry.path);
        if (!usable ||
            entry.path.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
            if (unsupported_++ == 0) {
                firstUnsupported_ = location.left(200).toStdString();
            }
            return true;
        }
        if (!track.title.isEmpty()) {
            entry.title =
                (track.creator.isEmpty() ? track.title : track.creator + " - " + track.title)
                    .toStdString();
        } else {
            entry.title = stream ? entry.path : std::string(pathtext::afterLastSlash(entry.path));
        }
        return addWithinRoom(std::move(entry), room_, out_);
    }

    QXmlStreamReader xml_;
    ListRoom room_;
    ListRead& out_;
    QUrl folderBase_;
    std::vector<Frame> stack_; // open elements, the root first
    std::optional<TrackFields> track_;
    Field field_ = Field::None;
    QString text_; // of the field being read
    bool textOverlong_ = false;
    bool sawRoot_ = false;
    bool stopped_ = false;
    int unsupported_ = 0;
    std::string firstUnsupported_;
};

} // namespace

ListRead readXspf(const std::string& listPath, ListRoom room) {
    ListRead result;
    XspfParser parser(listPath, room, result);
    const ListReadStatus status =
        readListPieces(listPath, [&parser](std::string_view piece) { return parser.feed(piece); });
    if (status != ListReadStatus::Ok) {
        return ListRead{status, {}, 0, false, {}};
    }
    parser.finish();
    result.status = ListReadStatus::Ok;
    return result;
}

ListRead parseXspf(std::string_view contents, std::string_view listPath) {
    ListRead result;
    XspfParser parser(listPath, ListRoom{SIZE_MAX, INT64_MAX}, result);
    parser.feed(contents);
    parser.finish();
    result.status = ListReadStatus::Ok;
    return result;
}
