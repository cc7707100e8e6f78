// Osk: the cooperative task scheduler of the agent platform.
//
//   Task.h           a named unit of deferred work
//   TaskScheduler.h  the queue of requested tasks, and their turns
//   Share.h          when a run has used its share
#pragma once

#include "platform/Osk/Share.h"
#include "platform/Osk/Task.h"
#include "platform/Osk/TaskScheduler.h"
