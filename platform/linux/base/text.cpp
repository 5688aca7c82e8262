#include <cstring>

#include "ze/zeTools.h"

char* zeStrdup(const char* aText) {
    return aText == nullptr ? nullptr : strdup(aText);
}
