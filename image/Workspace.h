#pragma once

#include <QString>

/// The folder of one JPEG or PNG run. Any number of them may run at once.
struct Workspace
{
    QString dir;        ///< empty when it could not be made
    QString inputPath;  ///< the copy of the source that the encoder reads
    QString outputPath; ///< where the encoder writes
    QString sourcePath; ///< the source itself, which no encoder sees

    /// The names for the encoder's command line, and the working folder from which they count: empty, any, as
    /// long as the encoder can read whole paths.
    QString inputName;
    QString outputName;
    QString workingFolder;
};

/// The system's temporary location, made where there is none yet.
QString temporaryLocation();

/// Makes a folder directly in the temporary location, for this user alone, and copies the source into it. It
/// is "compress", or while another run has that, one with a name of its own. A failed step shows as a missing
/// file, which the encoder and the finish rule then report.
Workspace makeWorkspace(const QString& sourcePath);

/// A folder directly in the temporary location, for this user alone; empty when it could not be made.
QString makePrivateFolder();

/// Removes the folder with everything in it; an empty text does nothing. False when something is left.
bool removeWorkspace(const QString& dir);
