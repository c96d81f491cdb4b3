#pragma once
// In the place of clang's own, which takes the C library's headers for Microsoft's.
