#pragma once

#include <QString>

#include "host/doctor/Diagnosis.h"

/// The diagnosis in plain lines for people, with what to do about what is wrong; of a sound installation `onlyFaults` leaves nothing.
QString doctorText(const Diagnosis& diagnosis, bool onlyFaults);
