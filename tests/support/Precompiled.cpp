// Only carries the headers that are compiled once for all tests.
int main() {
    return 0;
}
