#pragma once

typedef const struct AuthorizationOpaqueRef *AuthorizationRef;
