#include "tests/support/EncoderTest.h"

#include <QTest>

void EncoderTest::init()
{
    mFixture = std::make_unique<Fixture>();
}

void EncoderTest::cleanup()
{
    QTRY_VERIFY2(fake().allGone(), "an encoder outlived its task");
    QCOMPARE(folder().leftovers(), QStringList());
    mFixture.reset();
}
