#pragma once

#include <QObject>
#include <QString>

#include <memory>

#include "tests/support/FakeEncoder.h"
#include "tests/support/MessageCapture.h"
#include "tests/support/TestFolder.h"

/// The base of tests that run tasks with fake encoders. Every test function, and every row, has a folder, a
/// temporary location and encoders of its own; it fails when it leaves an encoder alive or a file in the
/// temporary location.
class EncoderTest : public QObject
{
    Q_OBJECT

protected:
    TestFolder& folder() { return mFixture->folder; }
    FakeEncoder& fake() { return mFixture->fake; }
    MessageCapture& messages() { return mFixture->messages; }

private slots:
    void init();
    void cleanup();

private:
    struct Fixture
    {
        MessageCapture messages;
        TestFolder folder;
        FakeEncoder fake;
    };
    std::unique_ptr<Fixture> mFixture;
};
