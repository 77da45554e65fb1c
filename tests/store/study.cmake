# study tests
