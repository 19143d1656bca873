// The resources of this library (translations, fonts) are embedded by the build.
