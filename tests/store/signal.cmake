# signal tests
