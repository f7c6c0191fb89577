#include "hostlibs/BasicObject.h"

namespace Vantor {

BasicObject::BasicObject(QObject* parent) : QObject(parent) {}

BasicObject::~BasicObject() = default;

} // namespace Vantor
