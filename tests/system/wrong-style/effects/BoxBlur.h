#pragma once
// The row lets go
// of its pixels, and this one line line is longer than the limit.
