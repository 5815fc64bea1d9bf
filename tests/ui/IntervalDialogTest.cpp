#include "UiTestSupport.h"
