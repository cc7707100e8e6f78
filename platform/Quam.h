// Quam: the reactive state-machine framework.
//
//   SmControl.h             the control that a machine's factory is given
//   InputStateMachine.h     base of the machines that scan and watch an input
#pragma once

#include "platform/Quam/InputStateMachine.h"
#include "platform/Quam/SmControl.h"
