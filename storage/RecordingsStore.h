#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

class SettingsStore;

// The folder that recordings and photos go into, kept across launches as its path; a stored
// path that no longer leads to a folder counts as not found (the path stays stored, so the
// folder works again when its drive is back). Main thread only.
class RecordingsStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(QUrl folderURL READ folderURL NOTIFY folderURLChanged)
    Q_PROPERTY(QString folderPath READ folderPath NOTIFY folderURLChanged)
public:
    // The suggested folder's name, in the user's language.
    Q_INVOKABLE static QString defaultFolderName();

    explicit RecordingsStore(SettingsStore& settings, QObject* parent = nullptr);

    QUrl folderURL() const { return m_folderURL; }
    QString folderPath() const { return m_folderURL.toLocalFile(); }

    // The stored folder, or none when nothing is stored or it cannot be found.
    std::optional<QUrl> resolveStoredFolder();
    // Stores `folder` as the recording folder; false when it is not a usable folder.
    Q_INVOKABLE bool setFolder(const QUrl& folder);

    // Where a new folder is suggested: "OSTREL Aufnahmen" in the Movies folder (or home).
    // Never created here.
    Q_INVOKABLE QUrl defaultFolder() const;
    // Where the folder chooser starts: the parent of the suggestion (the current folder, else
    // the default), so never inside it; the nearest folder above that exists, and never above
    // home when the suggestion lies in home.
    Q_INVOKABLE QUrl chooserStartFolder(const QUrl& suggested = QUrl()) const;

    // Selects the folder in the file manager; nothing without a folder.
    // Shows the folder, or with a path that file in it, in the file manager; emits
    // `fileManagerMissing` when none could.
    Q_INVOKABLE void revealInFileManager(const QString& path = {});
    std::optional<qint64> availableCapacity() const;
    Q_INVOKABLE bool isReachable() const;

signals:
    void folderURLChanged();
    // Nothing on this desktop could show `path`.
    void fileManagerMissing(const QString& path);

private:
    void setFolderURL(const QUrl& url);

    SettingsStore& m_settings;
    QUrl m_folderURL;
};
