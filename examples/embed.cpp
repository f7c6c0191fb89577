// embed INPUT OUTPUT: a host in short. Loads the module, runs one job and tells how it ended.
#include <QCoreApplication>
#include <QLibrary>
#include <QTextStream>

#include <compressor/CompressorEntry.h>

class Watcher : public QObject
{
    Q_OBJECT

public slots:
    void progressed(float progress) { QTextStream(stdout) << qRound(progress * 100) << " %\n"; }
    void finished(int code, const QString& text)
    {
        QTextStream(stdout) << "finished: " << code << ' ' << text << '\n';
        QCoreApplication::exit(code == 0 ? 0 : 1);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        qFatal("needs an input and an output");
#ifdef Q_OS_WIN
    QLibrary library(app.applicationDirPath() + "/VxCompressor");
#else
    QLibrary library(app.applicationDirPath() + "/../lib/VxCompressor");
#endif
    const auto entry = reinterpret_cast<CompressorEntryFunction>(library.resolve("CompressorEntry"));
    if (!entry)
        qFatal("%s", qPrintable(library.errorString()));

    const QVariantMap params{
        {"inputPath", app.arguments().at(1)}, {"outputPath", app.arguments().at(2)}, {"quality", "75"}};
    const QSharedPointer<ICompressTask> task = entry()->createTask(params);
    Watcher watcher;
    QObject::connect(task.data(), SIGNAL(compressProcess(float)), &watcher, SLOT(progressed(float)));
    QObject::connect(task.data(), SIGNAL(compressFinished(int, QString)), &watcher,
                     SLOT(finished(int, QString)));
    if (!task || !task->start())
        qFatal("no output, or its encoder is not beside this program");
    return app.exec();
}

#include "embed.moc"
