// The program of a layer that is linked whole; see CMakeLists.txt.
int main() {}
