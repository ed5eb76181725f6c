#pragma once
// The player's main window. It owns the log and, as the player grows, the sound engine, the
// level meter, the progress timer and the playlist window.

#include <QMainWindow>
#include <QStringList>

class MP3Database : public QMainWindow {
    Q_OBJECT
public:
    // argc/argv are the program's own; file and folder arguments are kept for playing.
    MP3Database(int argc, char* argv[], QWidget* parent = nullptr, Qt::WindowFlags flags = {});
    ~MP3Database() override;

    const QStringList& commandLineFiles() const { return commandLineFiles_; }

private:
    QStringList commandLineFiles_;
};
