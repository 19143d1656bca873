#pragma once

#include <QObject>
#include <QString>

class QSocketNotifier;

// For the black-box tests: with OSTREL_UI_TEXT_DUMP naming a file, SIGUSR1 makes the app write
// every text shown in its windows there, one line each: window title, the item's object name,
// its place on the screen (x,y,w,h) and the text (line breaks as \n). The file appears whole.
// Without the variable nothing is installed.
class UiTextDump : public QObject {
    Q_OBJECT
public:
    explicit UiTextDump(QString path, QObject* parent = nullptr);
    ~UiTextDump() override;

    // The dump as written to the file.
    static QString visibleTexts();

private:
    void write() const;

    QString m_path;
    QSocketNotifier* m_notifier = nullptr;
};
