#pragma once

#include <since.h>

typedef const struct AuthorizationOpaqueRef *AuthorizationRef;
