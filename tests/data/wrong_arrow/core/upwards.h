#pragma once

#include "store/mailbox.h"
