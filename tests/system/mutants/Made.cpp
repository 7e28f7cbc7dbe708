// 1 + 1 == 2: comments stay as they are.
const char* text() { return "1 + 1 == 2"; }

#ifdef MADE_NEVER
int unseen(int a, int b) { return a * b; }
#endif

// One fault of it does not compile, the other changes nothing.
enum : unsigned char { kUnused = 255 };

int sum(int a, int b) { return a + b; }

int difference(int a, int b) { return a - b; }

bool isZero(int n) { return !n; }

int countDown(int n) {
    for (;;) {
        if (isZero(n)) return n;
        n--;
    }
}
