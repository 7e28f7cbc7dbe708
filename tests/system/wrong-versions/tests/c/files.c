CHECK(strcmp(dib_version_text(), VERSION) == 0);
