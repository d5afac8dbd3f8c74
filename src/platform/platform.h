// The bundle of all interfaces through which the program uses the system.
#pragma once

#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/devices.h"
#include "platform/fault.h"
#include "platform/files.h"
#include "platform/processes.h"
#include "platform/system_facts.h"
#include "platform/toolkit.h"

struct Platform {
  Devices* devices = nullptr;
  Files* files = nullptr;
  Processes* processes = nullptr;
  SystemFacts* facts = nullptr;
  Desktop* desktop = nullptr;
  Toolkit* toolkit = nullptr;
  Clock* clock = nullptr;
};

// The platform in use. RunProgram sets it before the first routine runs.
extern Platform Sys;
