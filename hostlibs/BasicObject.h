#pragma once

#include <QObject>

namespace Vantor {

/// The plain QObject base of the demuxers.
class BasicObject : public QObject
{
    Q_OBJECT

public:
    explicit BasicObject(QObject* parent = nullptr);
    ~BasicObject() override;
};

} // namespace Vantor
