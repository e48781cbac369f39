// A program that does nothing: its precompiled headers are those of the tests.
int main() {}
