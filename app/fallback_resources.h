// The built-in resource defaults of class "Quivel", installed unless -nores.
#pragma once

namespace quivel {

// 132 "resource: value" lines in the order they are installed, followed
// by a null pointer (the form XtVaAppInitialize takes).
extern const char *const kFallbackResources[];
inline constexpr int kFallbackResourceCount = 132;

}  // namespace quivel
