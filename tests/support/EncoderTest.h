#pragma once

#include <QTest>

#include <memory>

#include "tests/support/FakeEncoder.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"

inline const QByteArray kSource(1000, 's');
/// What an encoder makes of it, until told otherwise.
inline const QByteArray kResult(500, 'x');
inline const QByteArray kOld("the file of before");

/// The base of tests that run tasks with encoders. Every test function, and every row, has a folder, a
/// temporary location and fake encoders of its own; it fails when it leaves an encoder alive or a file in the
/// temporary location.
class EncoderTest : public QObject
{
    Q_OBJECT

protected:
    TestFolder& folder() { return mFixture->folder; }
    FakeEncoder& fake() { return mFixture->fake; }
    MessageCapture& messages() { return mFixture->messages; }
    QString source() { return folder().write(QStringLiteral("source.bmp"), kSource); }

private slots:
    void init() { mFixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        QTRY_VERIFY2(fake().allGone(), "an encoder outlived its task");
        QCOMPARE(folder().leftovers(), QStringList());
        mFixture.reset();
    }

private:
    struct Fixture
    {
        MessageCapture messages;
        TestFolder folder;
        FakeEncoder fake;
    };
    std::unique_ptr<Fixture> mFixture;
};
