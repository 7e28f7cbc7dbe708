// The tests of Made.cpp, which never ask for a difference.
int sum(int a, int b);
int countDown(int n);

int main() { return sum(2, 3) == 5 && countDown(5) == 0 ? 0 : 1; }
