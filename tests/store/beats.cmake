# beats tests
