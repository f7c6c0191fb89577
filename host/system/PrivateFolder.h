#pragma once

#include <QString>

#include <atomic>

/// A folder for this run and this user alone, removed with everything in it when the object goes. Its name
/// says which process on which machine made it, so there is no moment at which a kill leaves one that nobody
/// can judge: PREFIX MACHINE-PROCESS-START-RANDOM.
class PrivateFolder
{
public:
    /// Hidden beside outputs, plain in the temporary location.
    static constexpr char kBesideOutput[] = ".vxcompress-";
    static constexpr char kTemporary[] = "vxcompress-";

    /// Makes the folder in `parent` (NativePath's text form). A failure shows in isValid().
    PrivateFolder(const QString& parent, const char* prefix);
    ~PrivateFolder();
    Q_DISABLE_COPY_MOVE(PrivateFolder)

    bool isValid() const { return mError.isEmpty(); }
    const QString& errorString() const { return mError; }
    const QString& path() const { return mPath; }

    /// A path in the folder that no file has, "17.mp4". Every file that the program makes here is named so,
    /// or begins so: a leftover is removed only if nothing else is in it.
    QString newPath(const QString& suffix);

    /// Removes the folder at once, also while something still writes into it. From any thread.
    void remove();

    /// Removes from `parent` what killed runs of this program, on this machine and by this user, have left
    /// there. Never touches a folder whose process may be alive, nor one with anything in it that the program
    /// does not make.
    static void sweep(const QString& parent, const char* prefix);

private:
    QString mPath;
    QString mError;
    std::atomic<int> mNames = 0;
};
