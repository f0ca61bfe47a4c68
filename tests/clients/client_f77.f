C     A Fortran 77 program written against the reference BLAS, built
C     with gfortran and -lblas. It knows nothing of qor. It prints its
C     results as lines "LABEL tol=T values...": run once on the
C     reference BLAS and once on the core, the two outputs must agree
C     within T (run_client.py compares them). A line starting with '#'
C     names the BLAS it ran on.
      PROGRAM CLIENT
      INTEGER M, N, K, LD
      PARAMETER (M = 301, N = 283, K = 297, LD = 310)
      DOUBLE PRECISION A(LD, LD), B(LD, LD), C(LD, LD)
      COMPLEX*16 ZA(LD, LD), ZX(2*LD), ZY(2*LD)
      DOUBLE PRECISION X(3*LD)
      DOUBLE PRECISION DNRM2, EPS, TOL, HUGE1, TINY1
      EXTERNAL DNRM2
      COMPLEX*16 ALPHA, BETA
      INTEGER I, J
      DOUBLE PRECISION SEED, RND
      EXTERNAL RND
      COMMON /RSEED/ SEED

      SEED = 12345.0D0
      EPS = EPSILON(1.0D0)
      CALL WHICH

C     Fill the whole arrays, leading rows past M included, so that a
C     routine that reads or writes outside its operands shows.
      DO 20 J = 1, LD
         DO 10 I = 1, LD
            A(I, J) = RND()
            B(I, J) = RND()
            C(I, J) = RND()
            ZA(I, J) = DCMPLX(RND(), RND())
   10    CONTINUE
   20 CONTINUE
      DO 30 I = 1, 2*LD
         ZX(I) = DCMPLX(RND(), RND())
         ZY(I) = DCMPLX(RND(), RND())
   30 CONTINUE
      DO 40 I = 1, 3*LD
         X(I) = RND()
   40 CONTINUE

C     C := 1.5 A B - 0.5 C, then C := A**T B**T + C on other shapes.
      TOL = 8.0D0 * K * EPS * K
      CALL DGEMM('N', 'N', M, N, K, 1.5D0, A, LD, B, LD, -0.5D0, C, LD)
      CALL PRMAT('DGEMM NN', TOL, C, LD, M, N)
      CALL DGEMM('T', 'T', N, M, K, 1.0D0, A, LD, B, LD, 1.0D0, C, LD)
      CALL PRMAT('DGEMM TT', 2 * TOL, C, LD, N, M)
C     Small and degenerate shapes: k = 0 scales C by beta only.
      CALL DGEMM('N', 'T', 7, 5, 0, 1.0D0, A, LD, B, LD, 2.0D0, C, LD)
      CALL PRMAT('DGEMM K0', 4 * TOL, C, LD, 7, 5)
      CALL DGEMM('T', 'N', 3, 2, 9, -1.0D0, A, LD, B, LD, 0.0D0, C, LD)
      CALL PRMAT('DGEMM small', 64 * EPS, C, LD, 3, 2)

C     y := alpha A x + beta y, y := alpha A**H x + beta y (strided x).
      ALPHA = DCMPLX(0.75D0, -0.25D0)
      BETA = DCMPLX(0.5D0, 0.125D0)
      TOL = 16.0D0 * N * EPS * N
      CALL ZGEMV('N', M, N, ALPHA, ZA, LD, ZX, 1, BETA, ZY, 1)
      CALL PRZVEC('ZGEMV N', TOL, ZY, M, 1)
      CALL ZGEMV('C', M, N, ALPHA, ZA, LD, ZX, 2, BETA, ZY, 2)
      CALL PRZVEC('ZGEMV C', 2 * TOL, ZY, N, 2)
      CALL ZGEMV('T', M, N, ALPHA, ZA, LD, ZX, -1, BETA, ZY, 1)
      CALL PRZVEC('ZGEMV T', 4 * TOL, ZY, N, 1)

C     Norms: plain, strided, and of numbers whose squares overflow or
C     underflow (the reference scales them).
      TOL = 16.0D0 * EPS
      WRITE (*, 900) 'DNRM2 ', TOL, DNRM2(3*LD, X, 1) / 30.0D0
      WRITE (*, 900) 'DNRM2 inc3', TOL, DNRM2(LD, X, 3) / 30.0D0
      HUGE1 = 1.0D300
      TINY1 = 1.0D-300
      DO 50 I = 1, 100
         B(I, 1) = HUGE1 * X(I)
         B(I, 2) = TINY1 * X(I)
   50 CONTINUE
      WRITE (*, 900) 'DNRM2 huge', TOL,
     $   DNRM2(100, B(1, 1), 1) / HUGE1 / 1.0D1
      WRITE (*, 900) 'DNRM2 tiny', TOL,
     $   DNRM2(100, B(1, 2), 1) / TINY1 / 1.0D1
      WRITE (*, 900) 'DNRM2 n0', 0.0D0, DNRM2(0, X, 1)
  900 FORMAT (A, ' tol=', ES10.3, 1X, ES24.16)
      END

C     A uniform number in [-1, 1) from a linear congruential sequence
C     (exact in double precision), the same on every run.
      DOUBLE PRECISION FUNCTION RND()
      DOUBLE PRECISION SEED
      COMMON /RSEED/ SEED
      SEED = MOD(SEED * 16807.0D0, 2147483647.0D0)
      RND = 2.0D0 * SEED / 2147483647.0D0 - 1.0D0
      END

C     A sample of the entries (every 61st in column order, and the last)
C     and the Frobenius norm scaled by the size.
      SUBROUTINE PRMAT(LABEL, TOL, C, LD, M, N)
      CHARACTER*(*) LABEL
      INTEGER LD, M, N, I, J, L
      DOUBLE PRECISION TOL, C(LD, *), S
      S = 0.0D0
      L = 0
      DO 20 J = 1, N
         DO 10 I = 1, M
            S = S + C(I, J)**2
            L = L + 1
            IF (MOD(L, 61) .EQ. 1 .OR. (I .EQ. M .AND. J .EQ. N)) THEN
               WRITE (*, 900) LABEL, I, J, TOL, C(I, J)
            END IF
   10    CONTINUE
   20 CONTINUE
      WRITE (*, 910) LABEL, TOL, SQRT(S / (M * N))
  900 FORMAT (A, ' (', I0, ',', I0, ') tol=', ES10.3, 1X, ES24.16)
  910 FORMAT (A, ' rms tol=', ES10.3, 1X, ES24.16)
      END

C     Every entry of a complex vector of N entries with stride INC.
      SUBROUTINE PRZVEC(LABEL, TOL, Y, N, INC)
      CHARACTER*(*) LABEL
      INTEGER N, INC, I
      DOUBLE PRECISION TOL
      COMPLEX*16 Y(*)
      DO 10 I = 1, N
         WRITE (*, 900) LABEL, I, TOL, DBLE(Y(1 + (I-1)*INC)),
     $      DIMAG(Y(1 + (I-1)*INC))
   10 CONTINUE
  900 FORMAT (A, ' (', I0, ') tol=', ES10.3, 2(1X, ES24.16))
      END

C     Names the BLAS this process runs on, from its own mappings.
      SUBROUTINE WHICH
      CHARACTER*512 LINE
      INTEGER IOS, P
      OPEN (UNIT=11, FILE='/proc/self/maps', STATUS='OLD', IOSTAT=IOS)
      IF (IOS .NE. 0) RETURN
   10 READ (11, '(A)', IOSTAT=IOS) LINE
      IF (IOS .NE. 0) GO TO 20
      IF (INDEX(LINE, 'libqor_core') .EQ. 0 .AND.
     $    INDEX(LINE, 'libblas') .EQ. 0) GO TO 10
      P = INDEX(LINE, '/')
      WRITE (*, '(2A)') '# blas: ', LINE(P:LEN_TRIM(LINE))
   20 CLOSE (11)
      END
