#pragma once

// The column limit of a layered grid when the host sets none (0xfffffff, seven
// hexadecimal f digits), and the start of a search for the smallest column:
// no column reaches it.
inline constexpr int kNoColumnLimit = 0xfffffff;
