int yes = 1;
int also = 3;
