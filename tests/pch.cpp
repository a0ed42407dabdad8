// Carries the precompiled header pch.h, which the test executables share.
