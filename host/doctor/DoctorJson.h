#pragma once

#include <QByteArray>

#include "host/doctor/Diagnosis.h"

/// The diagnosis as one JSON object in one line: `type` is "doctor".
QByteArray doctorJson(const Diagnosis& diagnosis);
