namespace quivel {
int quivelMain(int argc, char **argv);
}

int main(int argc, char **argv) { return quivel::quivelMain(argc, argv); }
